using System;
using System.Runtime.InteropServices;

namespace CQApi
{
    /// <summary>A formula for the difference of two colours.</summary>
    public enum DifferenceFormula : uint
    {
        /// <summary>CIELAB (ISO/CIE 11664-4).</summary>
        DeltaE76 = 0,
        /// <summary>CIE94, graphic arts 1:1:1 (CIE 116).</summary>
        DeltaE94 = 1,
        /// <summary>CIE94, textiles 2:1:1.</summary>
        DeltaE94Textile = 2,
        /// <summary>CMC 2:1 (ISO 105-J03).</summary>
        DeltaECmc = 3,
        /// <summary>CIEDE2000 1:1:1 (ISO/CIE 11664-6).</summary>
        DeltaE2000 = 4,
        /// <summary>DIN99 (DIN 6176:2001).</summary>
        DeltaE99 = 5,
        /// <summary>DIN99o (DIN 6176:2018).</summary>
        DeltaE99o = 6
    }

    /// <summary>An index of nearly white colours, and what it is defined for.</summary>
    public enum ColorIndex : uint
    {
        /// <summary>CIE 15: D65, both observers.</summary>
        WhitenessCie = 0,
        /// <summary>As its whiteness; above 0 greenish.</summary>
        TintCie = 1,
        /// <summary>ASTM E313: C, D50, D65, both observers.</summary>
        WhitenessE313 = 2,
        /// <summary>As its whiteness.</summary>
        TintE313 = 3,
        /// <summary>ASTM E313: C, D65, both observers.</summary>
        YellownessE313 = 4,
        /// <summary>ASTM D1925: C and 2 degrees.</summary>
        YellownessD1925 = 5
    }

    /// <summary>What of K/S is compared.</summary>
    public enum StrengthMethod : uint
    {
        /// <summary>Where the standard's is largest.</summary>
        SingleWavelength = 0,
        Sum = 1,
        /// <summary>Its sum, weighted by what the observer sees.</summary>
        Weighted = 2
    }

    /// <summary>How the trial is made equal to the standard under the reference illuminant.</summary>
    public enum MetamerismCorrection : uint
    {
        /// <summary>X, Y and Z times a factor each.</summary>
        Multiplicative = 0,
        /// <summary>L*, a* and b* plus a number each.</summary>
        Additive = 1
    }

    /// <summary>A grey scale for colour fastness.</summary>
    public enum GreyScale : uint
    {
        /// <summary>ISO 105-A05.</summary>
        Change = 0,
        /// <summary>ISO 105-A04.</summary>
        Staining = 1
    }

    /// <summary>The trial's values less the standard's; all but the first are CIELAB's.</summary>
    [StructLayout(LayoutKind.Sequential, Pack = 1)]
    public struct ColorDifference
    {
        private readonly float deltaE;
        private readonly float deltaL;
        private readonly float deltaA;
        private readonly float deltaB;
        private readonly float deltaC;
        private readonly float deltaH;

        /// <summary>By the formula that was asked for.</summary>
        public float DeltaE => deltaE;
        public float DeltaL => deltaL;
        public float DeltaA => deltaA;
        public float DeltaB => deltaB;
        public float DeltaC => deltaC;
        /// <summary>Above 0: anticlockwise, from red to yellow to green to blue.</summary>
        public float DeltaH => deltaH;
    }

    public static partial class Color
    {
        /// <summary>How a trial differs from a standard, both L*, a*, b*.</summary>
        /// <param name="factors">kL, kC and kH (for CMC l, c and one that is not read), each above 0;
        /// null for the usual ones.</param>
        public static ColorDifference Difference(ColorData standard, ColorData trial,
            DifferenceFormula formula = DifferenceFormula.DeltaE2000, float[] factors = null)
        {
            if (factors != null && factors.Length != 3)
            {
                throw new ArgumentException("three factors are needed", nameof(factors));
            }
            ColorDifference difference;
            uint code = NativeMethods.cqGetColorDifference(
                (uint)formula, factors, ref standard, ref trial, out difference);
            CQException.ThrowUnlessNoError(code, "cqGetColorDifference");
            return difference;
        }

        /// <summary>Whiteness, tint or yellowness.</summary>
        /// <param name="xyz">The perfect white has Y = 100.</param>
        /// <param name="isWithinLimits">Whether the colour is within the limits of the index's
        /// standard.</param>
        /// <exception cref="CQException">NotSupported where the index is not defined for this
        /// illuminant and observer, InvalidParameter for a colour without luminance.</exception>
        public static float Index(ColorIndex index, ColorData xyz, out bool isWithinLimits,
            Illuminant illuminant = Illuminant.D65, Observer observer = Observer.Degree10)
        {
            float value;
            uint code = NativeMethods.cqGetColorIndex((uint)index, (int)illuminant, (int)observer,
                ref xyz, out value, out isWithinLimits);
            CQException.ThrowUnlessNoError(code, "cqGetColorIndex");
            return value;
        }

        /// <summary>Relative colour strength of a trial in percent of the standard's. Illuminant and
        /// observer count for Weighted alone.</summary>
        /// <exception cref="CQException">InvalidParameter where K/S is not defined.</exception>
        public static float Strength(float[] standard, float[] trial,
            StrengthMethod method = StrengthMethod.Weighted,
            Illuminant illuminant = Illuminant.D65, Observer observer = Observer.Degree10)
        {
            CheckSpectrum(standard, nameof(standard));
            CheckSpectrum(trial, nameof(trial));
            float percent;
            uint code = NativeMethods.cqGetColorStrength(
                (uint)method, (int)illuminant, (int)observer, standard, trial, out percent);
            CQException.ThrowUnlessNoError(code, "cqGetColorStrength");
            return percent;
        }

        /// <summary>Special metamerism index for a change of illuminant.</summary>
        /// <exception cref="CQException">InvalidParameter for a trial that is black under the
        /// reference illuminant.</exception>
        public static float MetamerismIndex(float[] standard, float[] trial,
            Illuminant reference = Illuminant.D65, Illuminant test = Illuminant.A,
            DifferenceFormula formula = DifferenceFormula.DeltaE2000,
            MetamerismCorrection correction = MetamerismCorrection.Multiplicative,
            Observer observer = Observer.Degree10)
        {
            CheckSpectrum(standard, nameof(standard));
            CheckSpectrum(trial, nameof(trial));
            float index;
            uint code = NativeMethods.cqGetMetamerismIndex((uint)formula, (uint)correction,
                (int)reference, (int)test, (int)observer, standard, trial, out index);
            CQException.ThrowUnlessNoError(code, "cqGetMetamerismIndex");
            return index;
        }

        /// <summary>Rates a change of colour or a stain from L*, a*, b* before and after a test.</summary>
        /// <param name="step">The scale's step: 5, 4.5, 4 ... 1.</param>
        public static float GreyScaleRating(GreyScale scale, ColorData standard, ColorData trial,
            out float step)
        {
            float rating;
            uint code = NativeMethods.cqGetGreyScaleRating(
                (uint)scale, ref standard, ref trial, out rating, out step);
            CQException.ThrowUnlessNoError(code, "cqGetGreyScaleRating");
            return rating;
        }
    }
}

using System;
using System.Runtime.InteropServices;

namespace CQApi
{
    /// <summary>A colour space, and the meaning of a colour's three values in it.</summary>
    public enum ColorSpace : uint
    {
        /// <summary>CIE 1976 L*, a*, b*.</summary>
        Lab = 0,
        /// <summary>Tristimulus values X, Y, Z; the perfect white has Y = 100.</summary>
        Xyz = 1,
        /// <summary>Y, and the chromaticity coordinates x, y.</summary>
        Yxy = 2,
        /// <summary>L*, C*ab, hue angle hab in degrees, 0 to 360.</summary>
        Lch = 3,
        /// <summary>CIE 1976 L*, u*, v*.</summary>
        Luv = 4,
        /// <summary>Hunter L, a, b.</summary>
        HunterLab = 5,
        /// <summary>R, G, B, each 0 to 1.</summary>
        Srgb = 6,
        /// <summary>As Yxy with Y / 100.</summary>
        YxyUnit = 8,
        /// <summary>L99, a99, b99; a99 and b99 of a neutral are not-a-number.</summary>
        Din99 = 9
    }

    /// <summary>A CIE illuminant.</summary>
    public enum Illuminant
    {
        D65 = 0,
        D50 = 1,
        A = 2,
        C = 3,
        D55 = 4,
        D75 = 5,
        F1 = 6,
        F2 = 7,
        F3 = 8,
        F4 = 9,
        F5 = 10,
        F6 = 11,
        F7 = 12,
        F8 = 13,
        F9 = 14,
        F10 = 15,
        F11 = 16,
        F12 = 17
    }

    /// <summary>A CIE standard observer.</summary>
    public enum Observer
    {
        /// <summary>CIE 1931.</summary>
        Degree2 = 0,
        /// <summary>CIE 1964.</summary>
        Degree10 = 1
    }

    /// <summary>The three values of a colour; the colour space gives their meaning.</summary>
    [StructLayout(LayoutKind.Sequential, Pack = 1)]
    public struct ColorData
    {
        private readonly float first;
        private readonly float second;
        private readonly float third;

        public ColorData(float first, float second, float third)
        {
            this.first = first;
            this.second = second;
            this.third = third;
        }

        /// <param name="index">0 to 2.</param>
        public float this[int index]
        {
            get
            {
                switch (index)
                {
                    case 0: return first;
                    case 1: return second;
                    case 2: return third;
                    default: throw new ArgumentOutOfRangeException(nameof(index), "0 to 2");
                }
            }
        }

        internal float[] ToArray() => new[] { first, second, third };
    }

    /// <summary>The colour functions. They need no instrument and may run on any number of threads at
    /// once. An unknown colour space, illuminant or observer throws
    /// <see cref="ArgumentOutOfRangeException"/>.</summary>
    public static partial class Color
    {
        private const int SpectrumLength = 31;

        /// <param name="spectrum">31 reflectance factors at 400, 410 ... 700 nm; 1.0 is the perfect
        /// white.</param>
        public static ColorData FromSpectrum(float[] spectrum, ColorSpace space = ColorSpace.Lab,
            Illuminant illuminant = Illuminant.D65, Observer observer = Observer.Degree10)
        {
            CheckSpectrum(spectrum, nameof(spectrum));
            CheckArguments(space, illuminant, observer);
            ColorData color;
            uint code = NativeMethods.cqGetColorDataFromSpectralData(
                spectrum, (uint)space, (int)illuminant, (int)observer, out color);
            CQException.ThrowUnlessNoError(code, "cqGetColorDataFromSpectralData");
            return color;
        }

        /// <param name="xyz">Under this illuminant and observer; the perfect white has Y = 100.</param>
        public static ColorData FromXyz(ColorData xyz, ColorSpace space = ColorSpace.Lab,
            Illuminant illuminant = Illuminant.D65, Observer observer = Observer.Degree10)
        {
            CheckArguments(space, illuminant, observer);
            ColorData color;
            uint code = NativeMethods.cqGetColorDataFromXyz(
                (int)illuminant, (int)observer, xyz.ToArray(), (uint)space, out color);
            CQException.ThrowUnlessNoError(code, "cqGetColorDataFromXyz");
            return color;
        }

        /// <param name="lab">L*, a*, b* under this illuminant and observer.</param>
        public static ColorData FromLab(ColorData lab, ColorSpace space,
            Illuminant illuminant = Illuminant.D65, Observer observer = Observer.Degree10)
        {
            CheckArguments(space, illuminant, observer);
            ColorData color;
            uint code = NativeMethods.cqGetColorDataFromLab(
                (int)illuminant, (int)observer, lab.ToArray(), (uint)space, out color);
            CQException.ThrowUnlessNoError(code, "cqGetColorDataFromLab");
            return color;
        }

        private static void CheckSpectrum(float[] spectrum, string name)
        {
            if (spectrum == null || spectrum.Length != SpectrumLength)
            {
                throw new ArgumentException("31 reflectance factors are needed", name);
            }
        }

        private static void CheckArguments(ColorSpace space, Illuminant illuminant, Observer observer)
        {
            NativeMethods.RequireLibrary();
            if (!Enum.IsDefined(typeof(ColorSpace), space))
            {
                throw new ArgumentOutOfRangeException(nameof(space), "not a colour space");
            }
            if (!Enum.IsDefined(typeof(Illuminant), illuminant))
            {
                throw new ArgumentOutOfRangeException(nameof(illuminant), "not an illuminant");
            }
            if (!Enum.IsDefined(typeof(Observer), observer))
            {
                throw new ArgumentOutOfRangeException(nameof(observer), "not an observer");
            }
        }
    }

    /// <summary>The library that is loaded.</summary>
    public static class NativeLibrary
    {
        /// <summary>Its version, as "1.0.0".</summary>
        public static string Version => Marshal.PtrToStringAnsi(NativeMethods.cqGetVersion());
    }

    /// <summary>The debug log: a file beside the library, with its name and ".log" appended.</summary>
    public static class DebugLog
    {
        /// <summary>Starts the log and empties its file. False when the file cannot be opened.</summary>
        public static bool Enable()
        {
            NativeMethods.RequireLibrary();
            return NativeMethods.cqEnableDebugLog();
        }

        /// <summary>Stops the log and closes its file.</summary>
        public static void Disable() => NativeMethods.cqDiableDebugLog();
    }
}

using System;
using System.Linq;
using System.Runtime.InteropServices;
using CQApi;

/// <summary>The typed colour functions, and the layout of what crosses to the library.</summary>
internal static class ColorTests
{
    private static void Near(ColorData color, double first, double second, double third,
        double tolerance)
    {
        Check.Near(first, color[0], tolerance);
        Check.Near(second, color[1], tolerance);
        Check.Near(third, color[2], tolerance);
    }

    // White points: CIE 15:2018, for each illuminant and observer.
    internal static void ArgumentsReachTheirPlaces()
    {
        float[] white = Enumerable.Repeat(1f, 31).ToArray();
        Near(Color.FromSpectrum(white), 100, 0, 0, 0.01);
        Near(Color.FromSpectrum(white, ColorSpace.Xyz, Illuminant.A, Observer.Degree2),
            109.85, 100, 35.58, 0.05);
        Near(Color.FromXyz(new ColorData(109.85f, 100, 35.585f), ColorSpace.Lab, Illuminant.A,
            Observer.Degree2), 100, 0, 0, 0.05);
        Near(Color.FromLab(new ColorData(100, 0, 0), ColorSpace.Yxy, Illuminant.D50,
            Observer.Degree2), 100, 0.3457, 0.3585, 0.001);
    }

    internal static void RefusesWhatTheLibraryWouldNotCheck()
    {
        Check.Throws<ArgumentException>(() => Color.FromSpectrum(new float[30]));
        Check.Throws<ArgumentException>(() => Color.FromSpectrum(new float[32]));
        Check.Throws<ArgumentException>(() => Color.FromSpectrum(null));
        foreach (uint space in new uint[] { 7, 10 })
        {
            Check.Throws<ArgumentOutOfRangeException>(
                () => Color.FromSpectrum(new float[31], (ColorSpace)space));
        }
        var color = new ColorData(1, 2, 3);
        Check.Throws<ArgumentOutOfRangeException>(
            () => Color.FromXyz(color, ColorSpace.Lab, (Illuminant)18));
        Check.Throws<ArgumentOutOfRangeException>(
            () => Color.FromLab(color, ColorSpace.Xyz, Illuminant.D65, (Observer)(-1)));
        Check.Throws<ArgumentOutOfRangeException>(() => color[3].ToString());
    }

    internal static void DifferencesAndTheRestReachTheLibrary()
    {
        var standard = new ColorData(50, 2.6772f, -79.7751f);
        var trial = new ColorData(50, 0, -82.7485f);
        Check.Near(2.0425, Color.Difference(standard, trial).DeltaE, 1e-4);
        var vivid = new ColorData(100, -50, 50);
        var dark = new ColorData(20, 10, -20);
        Check.Near(66.320207, Color.Difference(vivid, dark, DifferenceFormula.DeltaECmc,
            new[] { 1f, 1f, 0f }).DeltaE, 1e-4);
        Check.Throws<CQException>(() => Color.Difference(standard, trial,
            DifferenceFormula.DeltaE94, new float[3]));
        Check.Throws<ArgumentException>(() => Color.Difference(standard, trial,
            DifferenceFormula.DeltaE94, new[] { 1f }));

        bool isWithinLimits;
        var xyz = new ColorData(95, 100, 105);
        Check.Near(4.34, Color.Index(ColorIndex.YellownessE313, xyz, out isWithinLimits,
            Illuminant.D65, Observer.Degree2), 1e-4);
        Check.Equal(true, isWithinLimits);
        Color.Index(ColorIndex.WhitenessCie, new ColorData(50, 40, 30), out isWithinLimits);
        Check.Equal(false, isWithinLimits);
        float[] grey = Enumerable.Repeat(0.5f, 31).ToArray();
        float[] darker = Enumerable.Repeat(0.25f, 31).ToArray();
        Check.Near(450, Color.Strength(grey, darker, StrengthMethod.Sum), 1e-3);
        Check.Near(0, Color.MetamerismIndex(grey, darker), 1e-3);
        Check.Throws<ArgumentException>(() => Color.Strength(grey, new float[30]));
        float step;
        Check.Near(4.0, Color.GreyScaleRating(GreyScale.Change, new ColorData(40, 0, 0),
            new ColorData(41.7f, 0, 0), out step), 1e-4);
        Check.Equal(4f, step);
        Check.Equal("1.0.0", NativeLibrary.Version);
    }

    internal static void RecordsHaveTheirSizes()
    {
        Check.Sequence(new[] { 136, 20, 280, 36, 12, 24 },
            new[]
            {
                typeof(DeviceInfo), typeof(InstrumentStatus), typeof(WhiteBoardParameter),
                typeof(BleSlave), typeof(ColorData), typeof(ColorDifference)
            }.Select(Marshal.SizeOf));
        Check.Equal("unknown error", CQException.TextOf((ResultCode)25));
    }
}

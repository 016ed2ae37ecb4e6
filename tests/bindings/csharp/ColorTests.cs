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
        Near(Color.FromSpectrum(white, ColorSpace.Xyz), 94.81, 100, 107.32, 0.05);
        Near(Color.FromSpectrum(white, ColorSpace.Xyz, Illuminant.A, Observer.Degree2),
            109.85, 100, 35.58, 0.05);
        Near(Color.FromXyz(new ColorData(94.811f, 100, 107.304f)), 100, 0, 0, 0.05);
        Near(Color.FromXyz(new ColorData(109.85f, 100, 35.585f), ColorSpace.Lab, Illuminant.A,
            Observer.Degree2), 100, 0, 0, 0.05);
        Near(Color.FromLab(new ColorData(50, 30, 40), ColorSpace.Lch), 50, 50, 53.13, 0.01);
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

    internal static void RecordsHaveTheirSizes()
    {
        Check.Sequence(new[] { 136, 20, 280, 36, 12 },
            new[]
            {
                typeof(DeviceInfo), typeof(InstrumentStatus), typeof(WhiteBoardParameter),
                typeof(BleSlave), typeof(ColorData)
            }.Select(Marshal.SizeOf));
        Check.Equal("unknown error", CQException.TextOf((ResultCode)25));
    }
}

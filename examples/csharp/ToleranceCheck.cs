// Measures a standard and trials, and says which trials are within a tolerance:
// ToleranceCheck PORT TOLERANCE COUNT
using System;
using System.Globalization;
using CQApi;

internal static class ToleranceCheck
{
    private const int SpectrumOffset = 64; // in the virtual instrument's records

    private static int Main(string[] arguments)
    {
        if (arguments.Length != 3)
        {
            Console.Error.WriteLine("usage: ToleranceCheck PORT TOLERANCE COUNT");
            return 2;
        }
        double tolerance = double.Parse(arguments[1], CultureInfo.InvariantCulture);
        int count = int.Parse(arguments[2], CultureInfo.InvariantCulture);
        try
        {
            return Run(arguments[0], tolerance, count);
        }
        catch (CQException failure)
        {
            Console.Error.WriteLine(failure.Message);
            return 1;
        }
    }

    private static int Run(string port, double tolerance, int count)
    {
        using (Instrument instrument = Instrument.Open(port))
        {
            instrument.CalibrateWhite();
            instrument.CalibrateBlack();
            ColorData standard = LabOf(instrument.MeasureStandard());
            for (int trial = 1; trial <= count; ++trial)
            {
                ColorData color = LabOf(instrument.MeasureTrial());
                float difference =
                    Color.Difference(standard, color, DifferenceFormula.DeltaE76).DeltaE;
                Console.WriteLine(string.Format(CultureInfo.InvariantCulture,
                    "trial {0}  dE*ab {1:F2}  {2}", trial, difference,
                    difference <= tolerance ? "pass" : "FAIL"));
            }
        }
        return 0;
    }

    private static ColorData LabOf(MeasurementRecord record)
    {
        return Color.FromSpectrum(record.SpectrumAt(SpectrumOffset), ColorSpace.Lab);
    }
}

// Shows measurements as they are made with the instrument's own button: Monitor PORT COUNT
using System;
using System.Collections.Concurrent;
using System.Globalization;
using CQApi;

internal static class Monitor
{
    private const int SpectrumOffset = 64; // in the virtual instrument's records

    private static int Main(string[] arguments)
    {
        if (arguments.Length != 2)
        {
            Console.Error.WriteLine("usage: Monitor PORT COUNT");
            return 2;
        }
        using (var measurements = new BlockingCollection<MeasurementReceivedEventArgs>())
        using (Instrument instrument = Instrument.Open(arguments[0]))
        {
            // Runs on a thread of the library, and leaves the work to this one.
            instrument.MeasurementReceived += (sender, measurement) => measurements.Add(measurement);
            for (int left = int.Parse(arguments[1]); left > 0; --left)
            {
                MeasurementReceivedEventArgs measurement = measurements.Take();
                ColorData lab = Color.FromSpectrum(measurement.Record.SpectrumAt(SpectrumOffset));
                Console.WriteLine(string.Format(CultureInfo.InvariantCulture,
                    "{0,-8}  L* {1,6:F2}  a* {2,6:F2}  b* {3,6:F2}",
                    measurement.IsStandard ? "standard" : "trial", lab[0], lab[1], lab[2]));
            }
        }
        return 0;
    }
}

using System;
using System.Collections.Generic;
using System.Linq;
using System.Threading;
using CQApi;
using static VirtualInstrument;

/// <summary>The event for measurements made with the instrument's button: how long handlers live, and
/// what may happen inside them.</summary>
internal static class HandlerTests
{
    internal static void ReceivesUntilItIsRemoved() => Use("--calibrated", (peer, instrument) =>
    {
        var received = new List<MeasurementReceivedEventArgs>();
        EventHandler<MeasurementReceivedEventArgs> handler = (sender, arguments) =>
        {
            Check.True(ReferenceEquals(sender, instrument), "the sender");
            received.Add(arguments);
        };
        instrument.MeasurementReceived += handler;
        GC.Collect(); // what the library calls must be kept
        peer.Press("sts");
        Check.Until(() => received.Count == 3, "the measurements");
        Check.Sequence(new[] { true, false, true }, received.Select(one => one.IsStandard));
        Check.Sequence(received[2].Record.ToArray(),
            Check.Ask(() => instrument.UploadStandards())[1].ToArray());

        instrument.MeasurementReceived -= handler;
        peer.Press("s");
        Check.Until(() => Check.Ask(instrument.GetTotalStandards) == 3, "the third standard");
        Check.Equal(3, received.Count);
    });

    internal static void SeveralHandlersMayComeAndGo() => Use("--calibrated", (peer, instrument) =>
    {
        int once = 0, always = 0;
        EventHandler<MeasurementReceivedEventArgs> first = null;
        first = (sender, arguments) =>
        {
            ++once;
            instrument.MeasurementReceived -= first; // from within
        };
        instrument.MeasurementReceived += first;
        instrument.MeasurementReceived += (sender, arguments) => Interlocked.Increment(ref always);
        peer.Press("sss");
        Check.Until(() => always == 3, "the measurements");
        Check.Equal(1, once);
    });

    internal static void ExceptionsStayOnThisSide() => Use("--calibrated", (peer, instrument) =>
    {
        var failures = new List<object>();
        instrument.MeasurementHandlerFailed +=
            (sender, arguments) => failures.Add(arguments.ExceptionObject);
        instrument.MeasurementReceived +=
            (sender, arguments) => throw new InvalidTimeZoneException("thrown inside");
        peer.Press("st");
        Check.Until(() => failures.Count == 2, "both failures");
        Check.True(failures.All(failure => failure is InvalidTimeZoneException), "their kind");
        Check.Equal(1u, Check.Ask(instrument.GetTotalStandards));
    });

    internal static void ClosingWaitsForARunningHandler() => Use("--calibrated", (peer, instrument) =>
    {
        var began = new ManualResetEvent(false);
        bool isEnded = false;
        instrument.MeasurementReceived += (sender, arguments) =>
        {
            began.Set();
            Thread.Sleep(200);
            isEnded = true;
        };
        peer.Press("s");
        Check.True(began.WaitOne(TimeSpan.FromSeconds(10)), "the handler runs");
        instrument.Dispose();
        Check.True(isEnded, "the handler has ended");
    });
}

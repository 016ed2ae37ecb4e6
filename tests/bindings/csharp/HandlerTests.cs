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
}

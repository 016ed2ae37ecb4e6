using System;
using System.Linq;
using System.Runtime.CompilerServices;
using System.Threading;
using CQApi;
using static VirtualInstrument;

/// <summary>A wired instrument through the C# binding.</summary>
internal static class InstrumentTests
{
    private static MeasurementRecord Filled(byte value)
    {
        return new MeasurementRecord(Enumerable.Repeat(value, MeasurementRecord.Size).ToArray());
    }

    internal static void TellsWhatItIs() => Use(
        "--serial 123456789012345 --capacity 300 --battery 55 --standards 7", (peer, instrument) =>
    {
        Check.True(instrument.IsOpen, "open");
        Check.Equal(peer.Port, instrument.PortName);
        DeviceInfo info = instrument.GetDeviceInfo();
        Check.Sequence(new object[] { "VIRTUAL-31", "HW 1.0", "123456789012345",
                "Virtual spectrophotometer", "FW 1.0", "WT-0001", 300u },
            new object[] { info.InfoText3, info.InfoText11, info.InfoText4, info.InfoText7,
                info.InfoText6, info.InfoText12, info.StandardCapacity });
        InstrumentStatus status = instrument.GetStatus();
        Check.Sequence(new[] { 55, 8, 7, 0 },
            new int[] { status.Item14, status.Item17, status.TotalStandards, status.Item0 });
    });

    internal static void MeasuresOnceCalibrated() => Use("", (peer, instrument) =>
    {
        var refused = Check.Throws<CQException>(() => instrument.MeasureStandard());
        Check.Equal(ResultCode.ExecuteCommandFailed, refused.Code);
        Check.Equal("cqMeasureStandard: execute command failed (8)", refused.Message);

        instrument.CalibrateWhite();
        instrument.CalibrateBlack();
        MeasurementRecord standard = instrument.MeasureStandard();
        Check.Equal(0, standard.ToArray()[6]);
        Check.Equal(1, instrument.MeasureTrial().ToArray()[6]);
        Check.Near(37.5, Color.FromSpectrum(standard.SpectrumAt(64))[0], 0.5);
        Check.Equal(31, standard.SpectrumAt(132).Length);
        Check.Throws<ArgumentOutOfRangeException>(() => standard.SpectrumAt(133));
        Check.Throws<ArgumentOutOfRangeException>(() => standard.SpectrumAt(-1));
        standard.ToArray()[6] = 9;
        Check.Equal(0, standard.ToArray()[6], "a record does not change");
    });

    internal static void UploadsAsManyAsThereAre() => Use(
        "--standards 7 --samples 5", (peer, instrument) =>
    {
        Check.Equal(5u, instrument.GetSampleCount(3));
        Action<int[], MeasurementRecord[]> areNumbered = (expected, records) =>
            Check.Sequence(expected, records.Select(record => (int)record.ToArray()[8]));
        areNumbered(new[] { 6, 7 }, instrument.UploadStandards(5));
        areNumbered(new[] { 2, 3, 4 }, instrument.UploadStandards(1, 3));
        areNumbered(new[] { 7 }, instrument.UploadStandards(6, 100));
        areNumbered(new[] { 4, 5 }, instrument.UploadSamples(0, 3));
        areNumbered(new[] { 1, 2 }, instrument.UploadSamples(0, 0, 2));
    });

    internal static void WritesAndDeletes() => Use(
        "--standards 2 --samples 3 --capacity 4", (peer, instrument) =>
    {
        instrument.DownloadStandards(Filled(0x11), Filled(0x22));
        var full = Check.Throws<CQException>(() => instrument.DownloadStandards(Filled(0x33)));
        Check.Equal(ResultCode.NoEnoughStorage, full.Code);
        Check.Throws<ArgumentNullException>(() => instrument.DownloadStandards(Filled(1), null));
        Check.Throws<ArgumentException>(() => new MeasurementRecord(new byte[255]));

        instrument.DeleteStandard(2);
        Check.Equal(0x22, instrument.UploadStandards(2)[0].ToArray()[255]);
        instrument.DeleteSample(0, 0);
        Check.Equal(2u, instrument.GetTotalSamples());
        Check.Throws<ArgumentOutOfRangeException>(
            () => instrument.DeleteStandard(int.MaxValue));
        Check.Equal(3u, instrument.GetTotalStandards(), "a wrong index erases nothing");
        instrument.DeleteAllRecords();
        Check.Equal(0u, instrument.GetTotalStandards() + instrument.GetTotalSamples());
    });

    internal static void KeepsParameters() => Use("", (peer, instrument) =>
    {
        instrument.SetMeasurementParameter(200, 255);
        Check.Equal(255, instrument.GetMeasurementParameter(200));
        WhiteBoardParameter parameter = instrument.GetWhiteBoardParameter();
        Check.Equal("WT-0001", parameter.Text);
        parameter.Text = "WT-2";
        parameter.SecondBlock[123] ^= 0x55;
        instrument.SetWhiteBoardParameter(parameter);
        WhiteBoardParameter again = instrument.GetWhiteBoardParameter();
        Check.Equal("WT-2", again.Text);
        Check.Sequence(parameter.FirstBlock, again.FirstBlock);
        Check.Sequence(parameter.SecondBlock, again.SecondBlock);
        Check.Throws<ArgumentException>(() => parameter.Text = "sixteen letters!");
        Check.Throws<ArgumentException>(
            () => instrument.SetWhiteBoardParameter(new WhiteBoardParameter()));
    });

    internal static void ForgetsItsHandleOnceClosed() => Use("", (peer, instrument) =>
    {
        var failed = Check.Throws<CQException>(() => Instrument.Open("/dev/no-such-port"));
        Check.Equal("opening an instrument on /dev/no-such-port: fail to open (2)", failed.Message);
        instrument.Dispose();
        Check.True(!instrument.IsOpen, "closed");
        Check.Throws<ObjectDisposedException>(() => instrument.GetStatus());
        // A later instrument may be given the same handle: the closed one must not reach it.
        using (Instrument later = Instrument.Open(peer.Port))
        {
            instrument.Dispose();
            GC.Collect();
            GC.WaitForPendingFinalizers();
            Check.True(later.IsOpen, "the later one is open");
            later.GetStatus();
        }
    });

    internal static void ClosesWhatIsForgotten()
    {
        using (var peer = new VirtualInstrument("--calibrated"))
        {
            // On a thread whose stack is gone afterwards: the collector searches stacks for anything
            // that might be a reference.
            var forgetting = new Thread(() => OpenAndForget(peer.Port));
            forgetting.Start();
            forgetting.Join();
            Check.Ask(() =>
            {
                GC.Collect();
                GC.WaitForPendingFinalizers();
                return Instrument.Open(peer.Port);
            }, ResultCode.FailToOpen).Dispose();
        }
    }

    [MethodImpl(MethodImplOptions.NoInlining)]
    private static void OpenAndForget(string port)
    {
        Instrument instrument = Instrument.Open(port);
        instrument.MeasurementReceived += (sender, arguments) => instrument.ToString();
    }
}

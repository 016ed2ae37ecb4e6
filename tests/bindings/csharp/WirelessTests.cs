using System.IO;
using System.Linq;
using CQApi;

/// <summary>A wireless instrument through the C# binding.</summary>
internal static class WirelessTests
{
    private const string Quick = "--adapter --at-delay 2 --scan-ready --calibrated";

    [Test]
    private static void ScansWhoIsThere()
    {
        string file = Path.GetTempFileName();
        File.WriteAllText(file, @"[
            {""name"": ""Far"", ""address"": ""AA01"", ""rssi"": -90},
            {""name"": ""A name of twenty-six letters"", ""address"": ""AA02"", ""rssi"": -41}]");
        using (var peer = new VirtualInstrument($"{Quick} --slaves {file}"))
        {
            Check.Sequence(new[] { "Far AA01 -90", " AA02 -41" },
                Adapter.Scan(peer.Port)
                    .Select(slave => $"{slave.Name} {slave.Address} {slave.Rssi}"));
        }
        File.Delete(file);
    }

    [Test]
    private static void NobodyIsNoError()
    {
        string file = Path.GetTempFileName();
        File.WriteAllText(file, "[]");
        using (var peer = new VirtualInstrument($"{Quick} --slaves {file}"))
        {
            Check.Equal(0, Adapter.Scan(peer.Port).Length);
        }
        File.Delete(file);
        var failed = Check.Throws<CQException>(() => Adapter.Scan("/dev/no-such-port"));
        Check.Equal(ResultCode.FailToOpen, failed.Code);
        failed = Check.Throws<CQException>(() => Adapter.Scan(null));
        Check.Equal(ResultCode.InvalidParameter, failed.Code);
        Check.Throws<CQException>(() => Instrument.OpenWireless("/dev/no-such-port"));
    }

    [Test]
    private static void IsUsedLikeAWiredOne()
    {
        using (var peer = new VirtualInstrument(Quick))
        using (Instrument instrument = Instrument.OpenWireless(peer.Port, "C4BE84A1B2C5"))
        {
            Check.Equal("VI-000003", instrument.GetDeviceInfo().InfoText4);
            Check.Equal(0u, instrument.GetDeviceInfo().StandardCapacity);
            Check.Equal(1, instrument.GetStatus().Item18);
            Check.Equal(1, instrument.MeasureTrial().ToArray()[6]);
            var failed = Check.Throws<CQException>(() => instrument.GetMeasurementParameter(1));
            Check.Equal(ResultCode.NotSupported, failed.Code);
        }
    }

    [Test]
    private static void TakesTheStrongest()
    {
        using (var peer = new VirtualInstrument(Quick))
        using (Instrument instrument = Instrument.OpenWireless(peer.Port))
        {
            Check.Equal("VI-000002", instrument.GetDeviceInfo().InfoText4);
        }
    }
}

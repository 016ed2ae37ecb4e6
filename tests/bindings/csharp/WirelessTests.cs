using System.IO;
using System.Linq;
using CQApi;

/// <summary>A wireless instrument through the C# binding.</summary>
internal static class WirelessTests
{
    private const string Quick = "--adapter --at-delay 2 --scan-ready";

    /// <summary>What a scan finds where these slaves are within reach.</summary>
    private static string[] Found(string slaves)
    {
        string file = Path.GetTempFileName();
        File.WriteAllText(file, slaves);
        using (var peer = new VirtualInstrument($"{Quick} --slaves {file}"))
        {
            BleSlave[] found = Adapter.Scan(peer.Port);
            File.Delete(file);
            return found.Select(slave => $"{slave.Name} {slave.Address} {slave.Rssi}").ToArray();
        }
    }

    internal static void ScansWhoIsThere()
    {
        Check.Sequence(new[] { "Far AA01 -90", " AA02 -41" }, Found(@"[
            {""name"": ""Far"", ""address"": ""AA01"", ""rssi"": -90},
            {""name"": ""A name of twenty-six letters"", ""address"": ""AA02"", ""rssi"": -41}]"));
        Check.Equal(0, Found("[]").Length);
        var failed = Check.Throws<CQException>(() => Adapter.Scan("/dev/no-such-port"));
        Check.Equal(ResultCode.FailToOpen, failed.Code);
        failed = Check.Throws<CQException>(() => Adapter.Scan(null));
        Check.Equal(ResultCode.InvalidParameter, failed.Code);
    }

    internal static void OpensTheOneThatIsNamedOrTheStrongest()
    {
        using (var peer = new VirtualInstrument(Quick))
        {
            using (Instrument named = Instrument.OpenWireless(peer.Port, "C4BE84A1B2C5"))
            {
                Check.Equal("VI-000003", named.GetDeviceInfo().InfoText4);
            }
            using (Instrument strongest = Instrument.OpenWireless(peer.Port))
            {
                Check.Equal("VI-000002", strongest.GetDeviceInfo().InfoText4);
            }
        }
    }
}

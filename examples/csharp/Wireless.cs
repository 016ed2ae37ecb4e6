// Lists the wireless instruments within reach and names the nearest: Wireless ADAPTER-PORT
using System;
using CQApi;

internal static class Wireless
{
    private static int Main(string[] arguments)
    {
        if (arguments.Length != 1)
        {
            Console.Error.WriteLine("usage: Wireless ADAPTER-PORT");
            return 2;
        }
        BleSlave[] slaves = Adapter.Scan(arguments[0]);
        foreach (BleSlave slave in slaves)
        {
            Console.WriteLine($"{slave.Address} {slave.Name} {slave.Rssi} dBm");
        }
        if (slaves.Length == 0)
        {
            return 0;
        }
        Array.Sort(slaves, (one, other) => other.Rssi.CompareTo(one.Rssi));
        using (Instrument instrument = Instrument.OpenWireless(arguments[0], slaves[0].Address))
        {
            Console.WriteLine("nearest: " + instrument.GetDeviceInfo().InfoText4);
        }
        return 0;
    }
}

// Lists the wireless instruments within reach and names the nearest: Wireless ADAPTER-PORT
using System;
using CQApi;

internal static class Wireless
{
    private static void Main(string[] arguments)
    {
        BleSlave[] slaves = Adapter.Scan(arguments[0]);
        foreach (BleSlave slave in slaves)
        {
            Console.WriteLine($"{slave.Address} {slave.Name} {slave.Rssi} dBm");
        }
        if (slaves.Length == 0)
        {
            return;
        }
        Array.Sort(slaves, (one, other) => other.Rssi.CompareTo(one.Rssi));
        using (Instrument instrument = Instrument.OpenWireless(arguments[0], slaves[0].Address))
        {
            Console.WriteLine("nearest: " + instrument.GetDeviceInfo().InfoText4);
        }
    }
}

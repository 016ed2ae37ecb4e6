using System;
using System.Diagnostics;
using System.IO;
using CQApi;

/// <summary>A virtual instrument to test against, without noise and at once.</summary>
internal sealed class VirtualInstrument : IDisposable
{
    private readonly Process process;
    private readonly string log = Path.GetTempFileName();

    internal VirtualInstrument(string options = "")
    {
        string time = options.Contains("--measure-time") ? "" : "--measure-time 0 ";
        process = Process.Start(new ProcessStartInfo
        {
            FileName = Environment.GetEnvironmentVariable("CQ_VIRTUAL_INSTRUMENT"),
            Arguments = $"--until-eof --noise 0 --log {log} {time}{options}",
            UseShellExecute = false,
            RedirectStandardInput = true,
            RedirectStandardOutput = true
        });
        Port = process.StandardOutput.ReadLine().Substring("port: ".Length);
    }

    /// <summary>Runs a test with a virtual instrument and the binding's connection to it.</summary>
    internal static void Use(string options, Action<VirtualInstrument, Instrument> test)
    {
        using (var peer = new VirtualInstrument(options))
        using (Instrument instrument = Instrument.Open(peer.Port))
        {
            test(peer, instrument);
        }
    }

    internal string Port { get; }

    internal string LineLog => File.ReadAllText(log);

    /// <summary>"s" presses the button for a standard, "t" the one for a trial.</summary>
    internal void Press(string keys)
    {
        process.StandardInput.Write(keys);
        process.StandardInput.Flush();
    }

    public void Dispose()
    {
        process.StandardInput.Close();
        process.WaitForExit();
        process.Dispose();
        File.Delete(log);
    }
}

using System;
using System.Diagnostics;
using System.Threading;

namespace CQApi
{
    /// <summary>A measurement made with the instrument's own button.</summary>
    public sealed class MeasurementReceivedEventArgs : EventArgs
    {
        internal MeasurementReceivedEventArgs(bool isStandard, MeasurementRecord record)
        {
            IsStandard = isStandard;
            Record = record;
        }

        /// <summary>True for a standard, false for a trial.</summary>
        public bool IsStandard { get; }

        public MeasurementRecord Record { get; }
    }

    /// <summary>An open instrument, closed by <see cref="Dispose"/>.
    ///
    /// An instrument handles one request at a time: give each one thread, or a lock. Different
    /// instruments run in parallel. Every call can throw <see cref="CQException"/>, and
    /// <see cref="ObjectDisposedException"/> once closed. CQApi.h lists the codes and the longest wait of
    /// each call.</summary>
    public sealed class Instrument : IDisposable
    {
        private const uint AllRecords = uint.MaxValue;
        private const int PortNameSize = 4096; // longer than any path

        private readonly InstrumentHandle handle;
        private EventHandler<MeasurementReceivedEventArgs> measurementReceived;

        private Instrument(uint code, InstrumentHandle opened, string what, string portName)
        {
            if (code != (uint)ResultCode.NoError)
            {
                opened.Dispose();
                throw new CQException((ResultCode)code, string.IsNullOrEmpty(portName)
                    ? "searching the ports for " + what
                    : "opening " + what + " on " + portName);
            }
            handle = opened;
            handle.Callback = OnMeasurement;
        }

        /// <summary>Opens a wired instrument.</summary>
        /// <param name="portName">"COM5", "/dev/ttyACM0"; null: the first port with the instrument's USB
        /// identity that answers.</param>
        /// <param name="timeout">For all of it; null: as long as the port stays silent.</param>
        /// <exception cref="CQException">With the reason: CannotFoundDevice, FailToOpen, UnknownError,
        /// ReceivingTimeout when the time was up.</exception>
        public static Instrument Open(string portName = null, TimeSpan? timeout = null)
        {
            NativeMethods.RequireLibrary();
            var code = NativeMethods.cqOpenWithin(portName, Milliseconds(timeout), out var opened);
            return new Instrument(code, opened, "an instrument", portName);
        }

        /// <summary>Opens a wireless instrument through the Bluetooth LE adapter. Takes 2 to 5 s, with a
        /// scan about 2 s more.</summary>
        /// <param name="adapterPortName">Null: the first port of an adapter that answers.</param>
        /// <param name="slaveAddress">A <see cref="BleSlave.Address"/>; null: the instrument with the
        /// strongest signal.</param>
        /// <param name="timeout">As for <see cref="Open"/>.</param>
        /// <exception cref="CQException">As <see cref="Open"/>.</exception>
        public static Instrument OpenWireless(
            string adapterPortName = null, string slaveAddress = null, TimeSpan? timeout = null)
        {
            NativeMethods.RequireLibrary();
            var code = NativeMethods.cqOpenByBleDongleWithin(
                adapterPortName, slaveAddress, Milliseconds(timeout), out var opened);
            return new Instrument(code, opened, "a wireless instrument", adapterPortName);
        }

        private static uint Milliseconds(TimeSpan? time)
        {
            const uint NoLimit = uint.MaxValue;
            return time is TimeSpan given
                ? (uint)Math.Min(Math.Max(given.TotalMilliseconds, 0), NoLimit - 1)
                : NoLimit;
        }

        /// <summary>Says goodbye and closes; does nothing the second time. May be called while another
        /// thread's call runs, which then throws. Waits for a running event handler, so do not call it
        /// from within one.</summary>
        public void Dispose()
        {
            handle.CloseNow();
        }

        /// <summary>False once closed. Does not ask the instrument whether it is still there.</summary>
        public bool IsOpen
        {
            get
            {
                try
                {
                    return NativeMethods.cqIsValidHandle(handle);
                }
                catch (ObjectDisposedException)
                {
                    return false;
                }
            }
        }

        /// <summary>The port of the connection.</summary>
        public string PortName
        {
            get
            {
                var name = new byte[PortNameSize + 1];
                Check(NativeMethods.cqGetPortName(handle, name, PortNameSize), "cqGetPortName");
                return FieldText.Of(name);
            }
        }

        public DeviceInfo GetDeviceInfo()
        {
            DeviceInfo info;
            Check(NativeMethods.cqGetDeviceInfo(handle, out info), "cqGetDeviceInfo");
            return info;
        }

        public InstrumentStatus GetStatus()
        {
            var status = new InstrumentStatus();
            Check(NativeMethods.cqGetInstrumentStatus(handle, ref status), "cqGetInstrumentStatus");
            return status;
        }

        public void CalibrateWhite()
        {
            Check(NativeMethods.cqCalibrateWhite(handle), "cqCalibrateWhite");
        }

        public void CalibrateBlack()
        {
            Check(NativeMethods.cqCalibrateBlack(handle), "cqCalibrateBlack");
        }

        public MeasurementRecord MeasureStandard()
        {
            var record = new byte[MeasurementRecord.Size];
            Check(NativeMethods.cqMeasureStandard(handle, record), "cqMeasureStandard");
            return new MeasurementRecord(record);
        }

        public MeasurementRecord MeasureTrial()
        {
            var record = new byte[MeasurementRecord.Size];
            Check(NativeMethods.cqMeasureTrial(handle, record), "cqMeasureTrial");
            return new MeasurementRecord(record);
        }

        /// <summary>A measurement was made with the instrument's own button. Raised on a thread of the
        /// library: return soon, and do not call this instrument, except to add and remove handlers.
        /// Once a handler has been removed, it has ended and will not be called again, unless it removes
        /// itself.</summary>
        public event EventHandler<MeasurementReceivedEventArgs> MeasurementReceived
        {
            add { ChangeHandlers(handlers => handlers + value); }
            remove { ChangeHandlers(handlers => handlers - value); }
        }

        /// <summary>A handler of <see cref="MeasurementReceived"/> has thrown an exception, which does not
        /// pass through the library. It is also written to the trace.</summary>
        public event UnhandledExceptionEventHandler MeasurementHandlerFailed;

        private void ChangeHandlers(
            Func<EventHandler<MeasurementReceivedEventArgs>, EventHandler<MeasurementReceivedEventArgs>>
                change)
        {
            EventHandler<MeasurementReceivedEventArgs> before, after;
            do
            {
                before = measurementReceived;
                after = change(before);
            } while (Interlocked.CompareExchange(ref measurementReceived, after, before) != before);
            // Setting it anew is what waits for a running call.
            Check(NativeMethods.cqSetMeasurementResultReceivedCallback(
                      handle, after == null ? null : handle.Callback, IntPtr.Zero),
                "cqSetMeasurementResultReceivedCallback");
        }

        private void OnMeasurement(bool isStandard, IntPtr record, IntPtr user)
        {
            try
            {
                var arguments =
                    new MeasurementReceivedEventArgs(isStandard, new MeasurementRecord(record));
                measurementReceived?.Invoke(this, arguments);
            }
            catch (Exception exception) // must not reach the library
            {
                Report(exception);
            }
        }

        private void Report(Exception exception)
        {
            Trace.TraceError("a handler of MeasurementReceived failed: {0}", exception);
            try
            {
                MeasurementHandlerFailed?.Invoke(
                    this, new UnhandledExceptionEventArgs(exception, false));
            }
            catch (Exception another)
            {
                Trace.TraceError("a handler of MeasurementHandlerFailed failed: {0}", another);
            }
        }

        public uint GetTotalStandards()
        {
            uint count;
            Check(NativeMethods.cqGetTotalStandards(handle, out count), "cqGetTotalStandards");
            return count;
        }

        public uint GetTotalSamples()
        {
            uint count;
            Check(NativeMethods.cqGetTotalSamples(handle, out count), "cqGetTotalSamples");
            return count;
        }

        /// <summary>A wired instrument counts the samples of all standards, whatever the index.</summary>
        public uint GetSampleCount(uint standardIndex)
        {
            uint count;
            Check(NativeMethods.cqGetSampleCount(handle, standardIndex, out count), "cqGetSampleCount");
            return count;
        }

        /// <summary>Reads up to <paramref name="count"/> standards; asks first how many there are.</summary>
        public MeasurementRecord[] UploadStandards(uint firstIndex = 0, uint count = AllRecords)
        {
            return Upload(GetTotalStandards(), firstIndex, count, "cqUploadStandards",
                (records, size) =>
                    NativeMethods.cqUploadStandards(handle, records, firstIndex, size));
        }

        /// <summary>Reads up to <paramref name="count"/> samples of a standard; asks first how many there
        /// are. All of them must arrive within 5 s: over a slow link read them in portions.</summary>
        public MeasurementRecord[] UploadSamples(
            uint standardIndex, uint firstIndex = 0, uint count = AllRecords)
        {
            return Upload(GetSampleCount(standardIndex), firstIndex, count, "cqUploadSamples",
                (records, size) => NativeMethods.cqUploadSamples(
                    handle, records, standardIndex, firstIndex, size));
        }

        // The number is fixed here: a record that the instrument gains meanwhile must not be written
        // beyond the array's end.
        private static MeasurementRecord[] Upload(
            uint total, uint firstIndex, uint count, string call, Func<byte[], uint, uint> upload)
        {
            uint size = Math.Min(total > firstIndex ? total - firstIndex : 0, count);
            var bytes = new byte[checked((int)size * MeasurementRecord.Size)];
            if (size > 0)
            {
                Check(upload(bytes, size), call);
            }
            var records = new MeasurementRecord[size];
            for (int i = 0; i < records.Length; ++i)
            {
                records[i] = new MeasurementRecord(bytes, i);
            }
            return records;
        }

        /// <summary>Appends standards to those that the instrument holds. Does nothing if there are none.
        /// </summary>
        public void DownloadStandards(params MeasurementRecord[] records)
        {
            if (records == null || Array.IndexOf(records, null) >= 0)
            {
                throw new ArgumentNullException(nameof(records));
            }
            if (records.Length == 0)
            {
                return;
            }
            var bytes = new byte[checked(records.Length * MeasurementRecord.Size)];
            for (int i = 0; i < records.Length; ++i)
            {
                records[i].CopyTo(bytes, i);
            }
            Check(NativeMethods.cqDownloadStandards(handle, bytes, (uint)records.Length),
                "cqDownloadStandards");
        }

        /// <exception cref="ArgumentOutOfRangeException">For an index of 0x7FFFFFFF or more: on a wired
        /// line, where bit 31 is set, the instrument could take it for "everything".</exception>
        public void DeleteStandard(uint standardIndex)
        {
            if (standardIndex >= int.MaxValue)
            {
                throw new ArgumentOutOfRangeException(nameof(standardIndex),
                    "no standard has this index; see DeleteAllRecords");
            }
            Check(NativeMethods.cqDeleteStandard(handle, standardIndex), "cqDeleteStandard");
        }

        /// <summary>Deletes every stored standard and sample.</summary>
        public void DeleteAllRecords()
        {
            Check(NativeMethods.cqDeleteAllRecords(handle), "cqDeleteAllRecords");
        }

        public void DeleteSample(uint standardIndex, uint sampleIndex)
        {
            Check(NativeMethods.cqDeleteSample(handle, standardIndex, sampleIndex), "cqDeleteSample");
        }

        public WhiteBoardParameter GetWhiteBoardParameter()
        {
            WhiteBoardParameter parameter = WhiteBoardParameter.Empty;
            Check(NativeMethods.cqGetWhiteBoardParameter(handle, ref parameter),
                "cqGetWhiteBoardParameter");
            return parameter;
        }

        /// <summary>For wired instruments; a wireless one accepts only the text.</summary>
        /// <exception cref="ArgumentException">Not made by <see cref="GetWhiteBoardParameter"/>.
        /// </exception>
        public void SetWhiteBoardParameter(WhiteBoardParameter parameter)
        {
            if (!parameter.IsWhole)
            {
                throw new ArgumentException(
                    "change what GetWhiteBoardParameter gives", nameof(parameter));
            }
            Check(NativeMethods.cqSetWhiteBoardParameter(handle, ref parameter),
                "cqSetWhiteBoardParameter");
        }

        /// <summary>Wired instruments only, as is setting one; others throw NotSupported.</summary>
        public byte GetMeasurementParameter(byte number)
        {
            uint value;
            Check(NativeMethods.cqGetMeasurementParameter(handle, number, out value),
                "cqGetMeasurementParameter");
            return (byte)value;
        }

        public void SetMeasurementParameter(byte number, byte value)
        {
            Check(NativeMethods.cqSetMeasurementParameter(handle, number, value),
                "cqSetMeasurementParameter");
        }

        private static void Check(uint code, string call)
        {
            CQException.ThrowUnlessNoError(code, call);
        }
    }
}

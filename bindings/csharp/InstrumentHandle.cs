using System;
using System.Threading;
using Microsoft.Win32.SafeHandles;

namespace CQApi
{
    /// <summary>Owns a handle of the library. Also keeps the function that the library calls: it must
    /// live until the handle is closed, also when both become garbage together.</summary>
    internal sealed class InstrumentHandle : SafeHandleZeroOrMinusOneIsInvalid
    {
        private int isClosed;

        private InstrumentHandle() : base(true)
        {
        }

        internal NativeMethods.MeasurementResultReceived Callback { get; set; }

        /// <summary>Closes although calls may be running, which end with a code then; disposing alone
        /// would wait for their end.</summary>
        internal void CloseNow()
        {
            bool isHeld = false;
            try
            {
                DangerousAddRef(ref isHeld); // or the runtime may close it at this very moment
                ReleaseHandle();
            }
            catch (ObjectDisposedException)
            {
                // closed before
            }
            finally
            {
                if (isHeld)
                {
                    DangerousRelease();
                }
            }
            Dispose();
        }

        protected override bool ReleaseHandle()
        {
            if (Interlocked.Exchange(ref isClosed, 1) == 0)
            {
                NativeMethods.cqClose(handle);
            }
            return true;
        }
    }
}

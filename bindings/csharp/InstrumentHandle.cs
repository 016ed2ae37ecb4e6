using System;
using System.Threading;
using Microsoft.Win32.SafeHandles;

namespace CQApi
{
    /// <summary>Owns a handle of the library. Also keeps the delegate that the library calls, which must
    /// live until the handle is closed, even if both become garbage together.</summary>
    internal sealed class InstrumentHandle : SafeHandleZeroOrMinusOneIsInvalid
    {
        private int isClosed;

        private InstrumentHandle() : base(true)
        {
        }

        internal NativeMethods.MeasurementResultReceived Callback { get; set; }

        /// <summary>Closes even while calls are running, which then end with a code; disposing alone
        /// would wait for them.</summary>
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

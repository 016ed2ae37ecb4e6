using System;
using System.Collections.Generic;
using System.Runtime.InteropServices;

namespace CQApi
{
    /// <summary>The Bluetooth LE adapter.</summary>
    public static class Adapter
    {
        /// <summary>Lists the wireless instruments within reach of the adapter, which must not be in use.
        /// Takes about 2 to 5 s. An empty list is not an error.</summary>
        /// <exception cref="CQException">InvalidParameter (no port name), FailToOpen, SystemError (no
        /// adapter answers on the port).</exception>
        public static BleSlave[] Scan(string adapterPortName)
        {
            NativeMethods.RequireLibrary();
            IntPtr list;
            uint code = NativeMethods.cqScanBleSlaves(adapterPortName, out list);
            try
            {
                CQException.ThrowUnlessNoError(code, "cqScanBleSlaves");
                return Read(list);
            }
            finally
            {
                NativeMethods.cqFree(list);
            }
        }

        private static BleSlave[] Read(IntPtr list)
        {
            var slaves = new List<BleSlave>();
            int size = Marshal.SizeOf(typeof(BleSlave));
            for (IntPtr entry = list; entry != IntPtr.Zero; entry = IntPtr.Add(entry, size))
            {
                var slave = (BleSlave)Marshal.PtrToStructure(entry, typeof(BleSlave));
                if (slave.IsEnd)
                {
                    break;
                }
                slaves.Add(slave);
            }
            return slaves.ToArray();
        }
    }
}

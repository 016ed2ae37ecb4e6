using System;
using System.Runtime.InteropServices;
using System.Text;

#pragma warning disable 0169, 0649 // fields that only the library fills in, and its reserved ones

namespace CQApi
{
    /// <summary>The device information. The content of each text is up to the instrument.</summary>
    [StructLayout(LayoutKind.Sequential, Pack = 1)]
    public struct DeviceInfo
    {
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 16)]
        private byte[] infoText3;
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 16)]
        private byte[] infoText11;
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 16)]
        private byte[] infoText4;
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 32)]
        private byte[] infoText7;
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 16)]
        private byte[] infoText6;
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 16)]
        private byte[] infoText12;
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 16)]
        private byte[] reserved;
        private ulong trailingValue;

        public string InfoText3 => FieldText.Of(infoText3);
        public string InfoText11 => FieldText.Of(infoText11);
        public string InfoText4 => FieldText.Of(infoText4);
        public string InfoText7 => FieldText.Of(infoText7);
        public string InfoText6 => FieldText.Of(infoText6);
        public string InfoText12 => FieldText.Of(infoText12);

        /// <summary>How many standards a wired instrument can store; 0 for a wireless one.</summary>
        public uint StandardCapacity => (uint)(trailingValue & uint.MaxValue);
    }

    /// <summary>The instrument's status. Items are numbered as the instrument numbers them; those that a
    /// wireless instrument does not report are 0.</summary>
    [StructLayout(LayoutKind.Explicit, Pack = 1, Size = 20)]
    public struct InstrumentStatus
    {
        [FieldOffset(0)] private readonly byte item16;
        [FieldOffset(3)] private readonly byte item17;
        [FieldOffset(5)] private readonly byte item15;
        [FieldOffset(6)] private readonly byte item14;
        [FieldOffset(7)] private readonly byte item18;
        [FieldOffset(8)] private readonly byte item20;
        [FieldOffset(9)] private readonly byte item19;
        [FieldOffset(10)] private readonly ushort totalStandards;
        [FieldOffset(14)] private readonly byte item0;

        public byte Item0 => item0;
        public byte Item14 => item14;
        public byte Item15 => item15;
        public byte Item16 => item16;
        public byte Item17 => item17;
        public byte Item18 => item18;
        public byte Item19 => item19;
        public byte Item20 => item20;
        public ushort TotalStandards => totalStandards;
    }

    /// <summary>One measurement, 256 bytes: the unit of stored standards and samples. Its inner layout is
    /// the instrument's. Immutable.</summary>
    public sealed class MeasurementRecord
    {
        /// <summary>The size of a record in bytes.</summary>
        public const int Size = 256;

        private const int SpectrumLength = 31;
        private const int LastSpectrumOffset = Size - SpectrumLength * sizeof(float);

        private readonly byte[] bytes = new byte[Size];

        /// <exception cref="ArgumentException">Not exactly 256 bytes.</exception>
        public MeasurementRecord(byte[] bytes)
        {
            if (bytes == null || bytes.Length != Size)
            {
                throw new ArgumentException("a measurement record has 256 bytes", nameof(bytes));
            }
            bytes.CopyTo(this.bytes, 0);
        }

        internal MeasurementRecord(byte[] records, int index)
        {
            Array.Copy(records, index * Size, bytes, 0, Size);
        }

        internal MeasurementRecord(IntPtr record)
        {
            Marshal.Copy(record, bytes, 0, Size);
        }

        /// <summary>A copy of the record's bytes.</summary>
        public byte[] ToArray() => (byte[])bytes.Clone();

        internal void CopyTo(byte[] records, int index) => bytes.CopyTo(records, index * Size);

        /// <summary>The 31 reflectance factors at 400, 410 ... 700 nm that begin at this byte (0 to 132),
        /// as little-endian 32-bit floats. The instrument's manual says where they begin; 64 for the
        /// virtual instrument.</summary>
        public float[] SpectrumAt(int offset)
        {
            if (offset < 0 || offset > LastSpectrumOffset)
            {
                throw new ArgumentOutOfRangeException(nameof(offset),
                    "a spectrum begins at byte 0 to 132 of a record");
            }
            var spectrum = new float[SpectrumLength];
            Buffer.BlockCopy(bytes, offset, spectrum, 0, SpectrumLength * sizeof(float));
            return spectrum;
        }
    }

    /// <summary>Reference values of the white calibration tile. Made by
    /// <see cref="Instrument.GetWhiteBoardParameter"/>.</summary>
    [StructLayout(LayoutKind.Sequential, Pack = 1)]
    public struct WhiteBoardParameter
    {
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 16)]
        private byte[] text;
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 16)]
        private byte[] reserved;
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 124)]
        private byte[] firstBlock;
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 124)]
        private byte[] secondBlock;

        internal static WhiteBoardParameter Empty => new WhiteBoardParameter
        {
            text = new byte[16],
            reserved = new byte[16],
            firstBlock = new byte[124],
            secondBlock = new byte[124]
        };

        /// <summary>At most 15 bytes of UTF-8.</summary>
        /// <exception cref="ArgumentException">It does not fit.</exception>
        public string Text
        {
            get { return FieldText.Of(text); }
            set { text = FieldText.ToField(value, 16); }
        }

        /// <summary>The first 124 bytes of values; changing the array changes the parameter.</summary>
        public byte[] FirstBlock => firstBlock;

        /// <summary>The other 124 bytes of values, likewise.</summary>
        public byte[] SecondBlock => secondBlock;

        internal bool IsWhole => text != null && firstBlock != null && secondBlock != null;
    }

    /// <summary>A wireless instrument within reach of the adapter.</summary>
    [StructLayout(LayoutKind.Sequential, Pack = 1)]
    public struct BleSlave
    {
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 16)]
        private byte[] name;
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 16)]
        private byte[] address;
        private int rssi;

        /// <summary>Empty if longer than 15 bytes.</summary>
        public string Name => FieldText.Of(name);

        /// <summary>Hexadecimal digits, for <see cref="Instrument.OpenWireless"/>.</summary>
        public string Address => FieldText.Of(address);

        /// <summary>Strength of the received signal in dBm: negative, nearer to 0 is stronger.</summary>
        public int Rssi => rssi;

        internal bool IsEnd => name[0] == 0 && address[0] == 0 && rssi == 0;
    }

    /// <summary>NUL-terminated texts in fixed fields, as UTF-8.</summary>
    internal static class FieldText
    {
        internal static string Of(byte[] field)
        {
            if (field == null)
            {
                return "";
            }
            int end = Array.IndexOf(field, (byte)0);
            return Encoding.UTF8.GetString(field, 0, end < 0 ? field.Length : end);
        }

        internal static byte[] ToField(string text, int size)
        {
            byte[] bytes = Encoding.UTF8.GetBytes(text ?? "");
            if (bytes.Length >= size || Array.IndexOf(bytes, (byte)0) >= 0)
            {
                throw new ArgumentException(
                    "at most " + (size - 1) + " bytes, without NUL, are needed: " + text);
            }
            Array.Resize(ref bytes, size);
            return bytes;
        }
    }
}

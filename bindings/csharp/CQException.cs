using System;
using System.Runtime.InteropServices;

namespace CQApi
{
    /// <summary>What a function of the library returns; see CqResult in CQApi.h.</summary>
    public enum ResultCode : uint
    {
        NoError = 0,
        CannotFoundDevice = 1,
        FailToOpen = 2,
        DeviceIsClosed = 3,
        NoSession = 4,
        DeviceIsBusy = 5,
        SendingTimeout = 6,
        ReceivingTimeout = 7,
        ExecuteCommandFailed = 8,
        SystemError = 9,
        InvalidPacket = 10,
        UnexpectedCommand = 11,
        Uncalibrated = 12,
        TheStorageIsFull = 13,
        FailToCalibrate = 14,
        NoEnoughStorage = 15,
        InvalidParameter = 16,
        NotSupported = 17,
        HasConnected = 18,
        UnknownError = 19
    }

    /// <summary>A call to the library that failed.</summary>
    public class CQException : Exception
    {
        /// <param name="code">Why it failed.</param>
        /// <param name="call">The function that was called; it begins the message.</param>
        public CQException(ResultCode code, string call)
            : base(call + ": " + TextOf(code) + " (" + (uint)code + ")")
        {
            Code = code;
        }

        public ResultCode Code { get; }

        /// <summary>The code's text alone.</summary>
        public string Text => TextOf(Code);

        /// <summary>The text of a code; "unknown error" from 20 on.</summary>
        public static string TextOf(ResultCode code)
        {
            return Marshal.PtrToStringAnsi(NativeMethods.cqGetResultText((uint)code));
        }

        internal static void ThrowUnlessNoError(uint code, string call)
        {
            if (code != (uint)ResultCode.NoError)
            {
                throw new CQException((ResultCode)code, call);
            }
        }
    }
}

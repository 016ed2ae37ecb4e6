using System;
using System.Runtime.InteropServices;

// On Windows the library is sought beside the assembly, beside the program and in the system's folder; in the
// working folder never.
[assembly: DefaultDllImportSearchPaths(
    DllImportSearchPath.AssemblyDirectory | DllImportSearchPath.SafeDirectories)]

namespace CQApi
{
    /// <summary>The library's functions as CQApi.h declares them. Records cross as structures, arrays of
    /// measurement records as their bytes.</summary>
    internal static class NativeMethods
    {
        private const string Library = "CQApi"; // CQApi.dll, libCQApi.so

        /// <summary>To be called before the first function: says what to do when there is no library.
        /// </summary>
        /// <exception cref="DllNotFoundException">There is none, or one of the wrong kind.</exception>
        internal static void RequireLibrary()
        {
            try
            {
                cqFree(IntPtr.Zero);
            }
            catch (Exception failure)
                when (failure is DllNotFoundException || failure is BadImageFormatException)
            {
                throw new DllNotFoundException(
                    "the library CQApi cannot be loaded: put CQApi.dll (on Linux libCQApi.so) beside "
                    + "the program or where the system looks for libraries (PATH, LD_LIBRARY_PATH), "
                    + "and run the program as a 64-bit process: " + failure.Message, failure);
            }
        }

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        internal delegate void MeasurementResultReceived(
            [MarshalAs(UnmanagedType.I1)] bool isStandard, IntPtr record, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi,
            BestFitMapping = false, ThrowOnUnmappableChar = true)]
        internal static extern InstrumentHandle cqOpen(string portName);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi,
            BestFitMapping = false, ThrowOnUnmappableChar = true)]
        internal static extern InstrumentHandle cqOpenByBleDongle(
            string adapterPortName, string slaveAddress);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi,
            BestFitMapping = false, ThrowOnUnmappableChar = true)]
        internal static extern uint cqOpenWithin(
            string portName, uint milliseconds, out InstrumentHandle handle);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi,
            BestFitMapping = false, ThrowOnUnmappableChar = true)]
        internal static extern uint cqOpenByBleDongleWithin(string adapterPortName,
            string slaveAddress, uint milliseconds, out InstrumentHandle handle);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, CharSet = CharSet.Ansi,
            BestFitMapping = false, ThrowOnUnmappableChar = true)]
        internal static extern uint cqScanBleSlaves(string adapterPortName, out IntPtr slaves);

        // Not with a safe handle: its owner closes with it.
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern void cqClose(IntPtr handle);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        [return: MarshalAs(UnmanagedType.I1)]
        internal static extern bool cqIsValidHandle(InstrumentHandle handle);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqGetPortName(
            InstrumentHandle handle, [In, Out] byte[] buffer, int size);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern void cqFree(IntPtr memory);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        [return: MarshalAs(UnmanagedType.I1)]
        internal static extern bool cqEnableDebugLog();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        [return: MarshalAs(UnmanagedType.I1)]
        internal static extern bool cqDiableDebugLog();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqGetDeviceInfo(InstrumentHandle handle, out DeviceInfo info);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqGetInstrumentStatus(
            InstrumentHandle handle, ref InstrumentStatus status);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqCalibrateWhite(InstrumentHandle handle);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqCalibrateBlack(InstrumentHandle handle);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqMeasureStandard(
            InstrumentHandle handle, [In, Out] byte[] record);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqMeasureTrial(
            InstrumentHandle handle, [In, Out] byte[] record);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqSetMeasurementResultReceivedCallback(
            InstrumentHandle handle, MeasurementResultReceived callback, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqGetTotalStandards(InstrumentHandle handle, out uint count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqGetTotalSamples(InstrumentHandle handle, out uint count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqGetSampleCount(
            InstrumentHandle handle, uint standardIndex, out uint count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqUploadStandards(
            InstrumentHandle handle, [In, Out] byte[] records, uint firstIndex, uint count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqUploadSamples(InstrumentHandle handle,
            [In, Out] byte[] records, uint standardIndex, uint firstIndex, uint count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqDownloadStandards(
            InstrumentHandle handle, byte[] records, uint count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqDeleteStandard(InstrumentHandle handle, uint standardIndex);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqDeleteAllRecords(InstrumentHandle handle);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqDeleteSample(
            InstrumentHandle handle, uint standardIndex, uint sampleIndex);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqGetWhiteBoardParameter(
            InstrumentHandle handle, ref WhiteBoardParameter parameter);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqSetWhiteBoardParameter(
            InstrumentHandle handle, ref WhiteBoardParameter parameter);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqGetMeasurementParameter(
            InstrumentHandle handle, byte number, out uint value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqSetMeasurementParameter(
            InstrumentHandle handle, byte number, byte value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqGetColorDataFromSpectralData(
            float[] spectrum, uint colorSpace, int illuminant, int observer, out ColorData color);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqGetColorDataFromXyz(
            int illuminant, int observer, float[] xyz, uint colorSpace, out ColorData color);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqGetColorDataFromLab(
            int illuminant, int observer, float[] lab, uint colorSpace, out ColorData color);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern IntPtr cqGetResultText(uint code);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern IntPtr cqGetVersion();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqGetColorDifference(uint formula, float[] factors,
            ref ColorData standardLab, ref ColorData trialLab, out ColorDifference difference);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqGetColorIndex(uint index, int illuminant, int observer,
            ref ColorData xyz, out float value,
            [MarshalAs(UnmanagedType.I1)] out bool isWithinLimits);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqGetColorStrength(uint method, int illuminant, int observer,
            float[] standard, float[] trial, out float percent);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqGetMetamerismIndex(uint formula, uint correction,
            int referenceIlluminant, int testIlluminant, int observer, float[] standard,
            float[] trial, out float index);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint cqGetGreyScaleRating(uint scale, ref ColorData standardLab,
            ref ColorData trialLab, out float rating, out float step);
    }
}

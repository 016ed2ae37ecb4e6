/** @file
 * CQApi: drives a spectrophotometer and computes colour data.
 *
 * This header is the library's complete interface and its manual. It is plain C99 and C++ and needs
 * nothing but the compiler's own headers.
 *
 * A first measurement:
 *
 *     CqHandle instrument = cqOpen(NULL);                 // find the instrument and connect
 *     CqMeasurementRecord record;
 *     if (instrument != NULL && cqMeasureStandard(instrument, &record) == CQ_NO_ERROR) {
 *         // record.bytes now holds what the instrument measured
 *     }
 *     cqClose(instrument);
 *
 * CONVENTIONS
 *
 * 1. Handles. An open call returns an opaque CqHandle; NULL means that it failed. A handle stays
 *    valid until cqClose, even when the instrument is unplugged: calls then return the codes of the
 *    broken link. With an unknown, closed or null handle every call that takes one returns
 *    CQ_NOT_SUPPORTED (17) and does nothing else. After cqClose a later open call may return the
 *    same value, so discard a handle once it is closed.
 *
 * 2. Result codes. Functions that can fail return an unsigned 32-bit code, CQ_NO_ERROR (0) on
 *    success; CqResult lists them all, cqGetResultText gives their texts. The library has no "last
 *    error"; details (sizes, the instrument's own error numbers) go to the debug log.
 *
 * 3. Memory. The caller owns every record, array and text that it passes; the library uses it only
 *    during the call and keeps no pointer to it. Unless a function says otherwise, an output is
 *    written only when the result is CQ_NO_ERROR. The device information, status and white-board
 *    parameter of a wireless instrument come in several replies and may be partly filled before a
 *    failure. No function tests a record pointer for NULL. cqFree releases memory that the library
 *    hands out.
 *
 * 4. Widths. Integers have the widths written here, a bool is one byte, a handle is a pointer.
 *    Records are packed, their integers little-endian; their sizes are checked below. Texts in
 *    records are 8-bit strings that end with a NUL.
 *
 * 5. Threads. Every function may be called from any thread. Calls on different handles run in
 *    parallel. An instrument handles one request at a time. On a wireless handle a second call waits
 *    its turn. On a wired one a call made while another request is being sent returns
 *    CQ_DEVICE_IS_BUSY, and one made while another waits for its reply replaces it: the earlier call
 *    returns CQ_DEVICE_IS_BUSY. Give each handle one thread, or a lock of your own. cqClose may be
 *    called while another thread's call runs on the same handle; that call ends with a result code.
 *
 * 6. The measurement callback runs on a thread of the library. Inside it you may call
 *    cqIsValidHandle, cqGetPortName, cqSetMeasurementResultReceivedCallback, the colour and the log
 *    functions, and anything on another handle. Do not
 *    - call a function that talks to the same instrument: it waits for a reply that only the
 *      callback's own thread can receive, and ends with CQ_SENDING_TIMEOUT, wireless with
 *      CQ_RECEIVING_TIMEOUT;
 *    - call cqClose on the same handle;
 *    - wait for the thread that removes the callback or closes the handle, and do not take a lock
 *      that is held during calls: the two would wait for each other. Post a message instead;
 *    - let a C++ exception escape: it ends the process.
 *    The record is valid only during the call: copy it. Return soon: the measurement is acknowledged
 *    when the callback has returned, and an instrument may resend a measurement that is not
 *    acknowledged within a second.
 *
 * 7. Timeouts. Every request ends by itself; each function states its longest wait. There are two
 *    exceptions: cqOpen on a port that opens but never answers waits until the port goes away
 *    (cqOpenWithin does not), and a call whose bytes a wired port no longer takes (because the
 *    instrument has stopped reading) waits until the port goes away or the handle is closed.
 *
 * Unless noted, each function that takes a handle can also return CQ_DEVICE_IS_CLOSED (the port is
 * closed), CQ_NO_SESSION (the instrument said goodbye, or was unplugged), CQ_DEVICE_IS_BUSY,
 * CQ_SENDING_TIMEOUT (no reply or acknowledgement in time), CQ_EXECUTE_COMMAND_FAILED (the
 * instrument refused), CQ_INVALID_PACKET (a reply of the wrong size) and CQ_NOT_SUPPORTED (unknown
 * handle).
 */
#ifndef CQAPI_CQAPI_H
#define CQAPI_CQAPI_H

#include <stdint.h>
#ifndef __cplusplus
#include <stdbool.h>
#endif

#define CQAPI_VERSION_MAJOR 1
#define CQAPI_VERSION_MINOR 0
#define CQAPI_VERSION_PATCH 0
#define CQAPI_VERSION_STRING "1.0.0"

#ifndef CQ_API
#if defined(_WIN32) && !defined(CQAPI_BUILDING)
#define CQ_API __declspec(dllimport)
#elif defined(__GNUC__) && !defined(_WIN32)
#define CQ_API __attribute__((visibility("default")))
#else
#define CQ_API /* the DLL's exports are listed in its module-definition file */
#endif
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------ result codes */

/** The meaning of a function's unsigned 32-bit result; each comment begins with the code's text. */
enum CqResult {
    CQ_NO_ERROR = 0,               /**< "no error" */
    CQ_CANNOT_FOUND_DEVICE = 1,    /**< "cannot found device": no port with an instrument */
    CQ_FAIL_TO_OPEN = 2,           /**< "fail to open": the port cannot be opened */
    CQ_DEVICE_IS_CLOSED = 3,       /**< "device is closed": the port is closed or was unplugged */
    CQ_NO_SESSION = 4,             /**< "no session": the instrument has ended the connection */
    CQ_DEVICE_IS_BUSY = 5,         /**< "device is busy": another transfer is running */
    CQ_SENDING_TIMEOUT = 6,        /**< "sending timeout": not answered in time */
    CQ_RECEIVING_TIMEOUT = 7,      /**< "receiving timeout": no reply in time (wireless) */
    CQ_EXECUTE_COMMAND_FAILED = 8, /**< "execute command failed": the instrument refused */
    CQ_SYSTEM_ERROR = 9,           /**< "system error": an operating-system call failed */
    CQ_INVALID_PACKET = 10,        /**< "invalid packet": a reply of the wrong size or form */
    CQ_UNEXPECTED_COMMAND = 11,    /**< "unexpected command": a reply to another command */
    CQ_UNCALIBRATED = 12,          /**< "uncalibrated": calibrate before measuring */
    CQ_THE_STORAGE_IS_FULL = 13,   /**< "the storage is full" */
    CQ_FAIL_TO_CALIBRATE = 14,     /**< "fail to calibrate" */
    CQ_NO_ENOUGH_STORAGE = 15,     /**< "no enough storage": fewer free places than records */
    CQ_INVALID_PARAMETER = 16,     /**< "invalid parameter": a null or out-of-range argument */
    CQ_NOT_SUPPORTED = 17,         /**< "not supported": also the answer to an unknown handle */
    CQ_HAS_CONNECTED = 18,         /**< "has connected": also an unassigned colour space */
    CQ_UNKNOWN_ERROR = 19          /**< "unknown error" */
};

/** A count that means "all from the first index on". */
#define CQ_ALL_RECORDS 0xFFFFFFFFu

/* ------------------------------------------------------------------------ records */

/** An open instrument. Opaque; NULL means none. */
typedef void* CqHandle;

#pragma pack(push, 1)

/** Device information, 136 bytes. The content of each text is up to the instrument. */
typedef struct CqDeviceInfo {
    char infoText3[16];
    char infoText11[16];
    char infoText4[16];
    char infoText7[32];
    char infoText6[16];
    char infoText12[16];
    uint8_t reserved[16];
    /** The low 32 bits are the number of standards a wired instrument can store; wireless: 0. */
    uint64_t trailingValue;
} CqDeviceInfo;

/** Instrument status, 20 bytes. Items are numbered as the instrument numbers them. */
typedef struct CqInstrumentStatus {
    uint8_t item16;
    uint8_t reserved1[2];
    uint8_t item17;
    uint8_t reserved4;
    uint8_t item15;
    uint8_t item14;
    uint8_t item18;
    uint8_t item20;
    uint8_t item19;
    uint16_t totalStandards;
    uint8_t reserved12[2];
    uint8_t item0;
    uint8_t reserved15[5];
} CqInstrumentStatus;

/** One measurement, 256 bytes: the unit of stored standards and samples. The library passes it
 *  between instrument and caller byte for byte; its inner layout is the instrument's. */
typedef struct CqMeasurementRecord {
    uint8_t bytes[256];
} CqMeasurementRecord;

/** Reference values of the white calibration tile, 280 bytes. The library does not read them. */
typedef struct CqWhiteBoardParameter {
    char text[16];
    uint8_t reserved[16];
    uint8_t firstBlock[124];
    uint8_t secondBlock[124];
} CqWhiteBoardParameter;

/** A wireless instrument within reach of the adapter, 36 bytes; an element of a list that ends with
 *  an element of zeros. A text too long for its field is left empty. */
typedef struct CqBleSlave {
    char name[16];
    /** Hexadecimal digits. */
    char address[16];
    /** Strength of the received signal in dBm: negative, nearer to 0 is stronger. */
    int32_t rssi;
} CqBleSlave;

/** The three values of a colour; ColorSpace gives their meaning. */
typedef struct ColorData {
    float values[3];
} ColorData;

#pragma pack(pop)

#define CQ_CHECK_SIZE(type, size) typedef char type##HasSize##size[sizeof(type) == (size) ? 1 : -1]
CQ_CHECK_SIZE(CqDeviceInfo, 136);
CQ_CHECK_SIZE(CqInstrumentStatus, 20);
CQ_CHECK_SIZE(CqMeasurementRecord, 256);
CQ_CHECK_SIZE(CqWhiteBoardParameter, 280);
CQ_CHECK_SIZE(CqBleSlave, 36);
CQ_CHECK_SIZE(ColorData, 12);

/* ------------------------------------------------------------------------ connection */

/**
 * Opens a wired instrument.
 *
 * @param portName  "COM5" or a named pipe ("\\\\.\\pipe\\bench" in C) on Windows, a terminal's path
 *                  such as "/dev/ttyACM0" elsewhere; NULL or "" tries every port that carries the
 *                  instrument's USB identity (0483:5740) and keeps the first that answers.
 * @return a handle to close with cqClose, or NULL: no instrument found, the port cannot be opened
 *         (in use, no permission), or the instrument refused the connection. The debug log has the
 *         reason.
 *
 * Waits indefinitely on a port that opens but never answers. A host that must not block calls
 * cqOpenWithin.
 */
CQ_API CqHandle cqOpen(const char* portName);

/**
 * Opens a wireless instrument through the Bluetooth LE adapter.
 *
 * @param adapterPortName  the adapter's port, "COM7" or "/dev/ttyUSB0"; NULL or "" tries every port
 *                         of a CH340 bridge and keeps the first whose module answers.
 * @param slaveAddress     the instrument's address as cqScanBleSlaves gives it; NULL or "" scans
 *                         (2 s) and takes the one with the strongest signal.
 * @return a handle to close with cqClose, or NULL: no adapter, the port cannot be opened, no
 *         instrument within reach, or no link to it. The debug log has the reason.
 *
 * Takes 2 to 5 s, with a scan about 2 s more; each port without an adapter takes up to 4 s. An
 * instrument that is linked but does not answer is opened all the same; its calls then return
 * CQ_RECEIVING_TIMEOUT.
 *
 * Afterwards the handle is used like a wired one, but for calls that overlap: they take turns,
 * because nothing in a reply identifies its request. cqClose ends the one that runs and those that
 * wait.
 */
CQ_API CqHandle cqOpenByBleDongle(const char* adapterPortName, const char* slaveAddress);

/**
 * Lists the wireless instruments (and other peripherals) within reach of the adapter. Needs no
 * handle; the adapter must not be in use. Takes about 2 to 5 s.
 *
 * @param adapterPortName  the adapter's port.
 * @param slaves           receives the list, ended by an element of zeros, to be released with
 *                         cqFree; NULL when nothing was heard or on failure.
 * @return CQ_NO_ERROR, also when nothing was heard; CQ_INVALID_PARAMETER: no port name;
 *         CQ_FAIL_TO_OPEN: the port cannot be opened; CQ_SYSTEM_ERROR: no adapter answers on it, or
 *         there is no memory for the list.
 */
CQ_API uint32_t cqScanBleSlaves(const char* adapterPortName, CqBleSlave** slaves);

/** Says goodbye to the instrument, closes its port and invalidates the handle. Calls that wait on it
 *  end with CQ_DEVICE_IS_CLOSED. Waits for a running callback and then at most 1.5 s, usually much
 *  less (4 s if a wireless adapter no longer answers), also when the port takes no more bytes. An
 *  unknown or null handle is ignored. Do not call it from the handle's own callback: the goodbye is
 *  then said at the next opening or closing of a handle. Callbacks may come until it returns. */
CQ_API void cqClose(CqHandle handle);

/** True while the handle is open. Does not ask the instrument whether it is still there. */
CQ_API bool cqIsValidHandle(CqHandle handle);

/**
 * Gives the name of the port that the instrument is connected through.
 *
 * @param buffer  receives the name; must hold at least 4 bytes.
 * @param size    the buffer's size in bytes.
 *
 * The first four bytes are zeroed, whatever the size. Then the name is copied WITHOUT a terminating
 * NUL if it has at most `size` characters; otherwise the whole buffer is zeroed. Clear the buffer
 * first and pass its size less one.
 *
 * @return CQ_NO_ERROR, or CQ_NOT_SUPPORTED for an unknown handle.
 */
CQ_API uint32_t cqGetPortName(CqHandle handle, char* buffer, int32_t size);

/** Releases memory that the library handed out. NULL is ignored. */
CQ_API void cqFree(void* memory);

/* ------------------------------------------------------------------------ debug log */

/** Starts the debug log: a file beside the library, with the library's name and ".log" appended,
 *  emptied at every start. @return false when the file cannot be opened. */
CQ_API bool cqEnableDebugLog(void);

/** Stops the debug log and closes its file. (The misspelling is part of the interface.)
 *  @return true. */
CQ_API bool cqDiableDebugLog(void);

/* ------------------------------------------------------------------------ identity and state */

/** Reads the device information. Waits up to 5 s; a wireless instrument takes 6 requests of up to
 *  2 s each. */
CQ_API uint32_t cqGetDeviceInfo(CqHandle handle, CqDeviceInfo* info);

/** Reads the instrument's status. Waits up to 5 s; a wireless instrument takes 9 requests of up to
 *  2 s each. Can also return CQ_UNKNOWN_ERROR. */
CQ_API uint32_t cqGetInstrumentStatus(CqHandle handle, CqInstrumentStatus* status);

/* ------------------------------------------------------------------------ measuring */

/** Calibrates on the white tile. Waits up to 15 s. CQ_EXECUTE_COMMAND_FAILED: refused. */
CQ_API uint32_t cqCalibrateWhite(CqHandle handle);

/** Calibrates on the black trap. Waits up to 15 s. CQ_EXECUTE_COMMAND_FAILED: refused. */
CQ_API uint32_t cqCalibrateBlack(CqHandle handle);

/** Measures a standard. Waits up to 15 s. CQ_EXECUTE_COMMAND_FAILED: not calibrated, or refused. */
CQ_API uint32_t cqMeasureStandard(CqHandle handle, CqMeasurementRecord* record);

/** Measures a trial (sample). As cqMeasureStandard. */
CQ_API uint32_t cqMeasureTrial(CqHandle handle, CqMeasurementRecord* record);

/**
 * Receives a measurement made with the instrument's own button.
 *
 * @param isStandard  true for a standard, false for a trial.
 * @param record      valid only during the call.
 * @param user        the pointer given at registration.
 */
typedef void (*CqMeasurementResultReceived)(bool isStandard, const CqMeasurementRecord* record,
                                            void* user);

/**
 * Sets the function that receives measurements made with the instrument's button, replacing any
 * earlier one; NULL removes it. See convention 6 for what it may do. When the call returns, an
 * earlier function has returned and will not be called again (unless the call is made from inside
 * it). It waits for as long as that takes: a callback that waits for this thread, or for a lock that
 * it holds, blocks both for ever.
 *
 * @return CQ_NO_ERROR, or CQ_NOT_SUPPORTED for an unknown handle.
 */
CQ_API uint32_t cqSetMeasurementResultReceivedCallback(CqHandle handle,
                                                       CqMeasurementResultReceived callback,
                                                       void* user);

/* ------------------------------------------------------------------------ stored records */

/** Counts the stored standards. Waits up to 5 s. */
CQ_API uint32_t cqGetTotalStandards(CqHandle handle, uint32_t* count);

/** Counts all stored samples. Waits up to 5 s. */
CQ_API uint32_t cqGetTotalSamples(CqHandle handle, uint32_t* count);

/** Counts the samples of one standard. Waits up to 5 s. A wired instrument is not given the index
 *  and answers with the number of all samples. */
CQ_API uint32_t cqGetSampleCount(CqHandle handle, uint32_t standardIndex, uint32_t* count);

/**
 * Reads stored standards from the instrument, in index order.
 *
 * @param records  room for `count` records, or with CQ_ALL_RECORDS for all from `firstIndex` on
 *                 (cqGetTotalStandards less `firstIndex`). If the instrument holds fewer, only
 *                 those are written and the other elements keep their values. Pass a count: with
 *                 CQ_ALL_RECORDS an instrument that has gained records meanwhile writes more.
 *
 * Waits up to 5 s plus 50 ms per record. CQ_INVALID_PACKET: the reply does not consist of whole
 * records, or has more than requested.
 */
CQ_API uint32_t cqUploadStandards(CqHandle handle, CqMeasurementRecord* records,
                                  uint32_t firstIndex, uint32_t count);

/**
 * Reads stored samples of one standard, in index order.
 *
 * @param records  room for `count` records, or with CQ_ALL_RECORDS for all from `firstIndex` on
 *                 (a wired instrument: cqGetTotalSamples less `firstIndex`). On success, elements
 *                 that the instrument did not fill are zeroed; with CQ_ALL_RECORDS they keep their
 *                 values. Pass a count, as for cqUploadStandards.
 *
 * Waits up to 5 s, however many samples there are; over a slow link read them in portions.
 */
CQ_API uint32_t cqUploadSamples(CqHandle handle, CqMeasurementRecord* records,
                                uint32_t standardIndex, uint32_t firstIndex, uint32_t count);

/** Appends standards to those that the instrument holds. CQ_NO_ENOUGH_STORAGE: they do not fit, and
 *  nothing was sent. Waits up to 5 s for each of its three steps. */
CQ_API uint32_t cqDownloadStandards(CqHandle handle, const CqMeasurementRecord* records,
                                    uint32_t count);

/** Deletes one standard. Waits up to 5 s, wireless up to 10 s. An index of 0xFFFFFFFF deletes every
 *  record, and so does 0x7FFFFFFF on a wired instrument, whose command has bit 31 set: do not pass an
 *  index that the instrument does not hold. */
CQ_API uint32_t cqDeleteStandard(CqHandle handle, uint32_t standardIndex);

/** Deletes every stored standard and sample. Waits up to 30 s. */
CQ_API uint32_t cqDeleteAllRecords(CqHandle handle);

/** Deletes one sample of a standard. Waits up to 5 s, wireless up to 10 s. */
CQ_API uint32_t cqDeleteSample(CqHandle handle, uint32_t standardIndex, uint32_t sampleIndex);

/* ------------------------------------------------------------------------ parameters */

/** Reads the reference values of the white tile. Waits up to 5 s. */
CQ_API uint32_t cqGetWhiteBoardParameter(CqHandle handle, CqWhiteBoardParameter* parameter);

/** Writes the reference values of the white tile. Waits up to 5 s. */
CQ_API uint32_t cqSetWhiteBoardParameter(CqHandle handle, const CqWhiteBoardParameter* parameter);

/** Reads one measurement parameter; the value is 0..255. Waits up to 5 s. */
CQ_API uint32_t cqGetMeasurementParameter(CqHandle handle, uint8_t number, uint32_t* value);

/** Writes one measurement parameter. Waits up to 5 s. */
CQ_API uint32_t cqSetMeasurementParameter(CqHandle handle, uint8_t number, uint8_t value);

/* ------------------------------------------------------------------------ colour */

/** A colour space, and the meaning of the three values of a ColorData in it. */
enum ColorSpace {
    ColorSpaceLab = 0,       /**< CIE 1976 L*, a*, b* */
    ColorSpaceXyz = 1,       /**< tristimulus values X, Y, Z; the perfect white has Y = 100 */
    ColorSpaceYxy = 2,       /**< Y, and the chromaticity coordinates x, y */
    ColorSpaceLch = 3,       /**< L*, C*ab, hue angle hab in degrees, 0 <= h < 360; an
                                  angle just below 0 rounds to 360 */
    ColorSpaceLuv = 4,       /**< CIE 1976 L*, u*, v* */
    ColorSpaceHunterLab = 5, /**< Hunter L, a, b */
    ColorSpaceSrgb = 6,      /**< R, G, B, each 0..1 */
    /* 7 is not assigned */
    ColorSpaceYxyUnit = 8, /**< as Yxy with Y / 100 */
    ColorSpaceDin99 = 9    /**< L99, a99, b99; a99 and b99 of a neutral are not-a-number */
};

/** A CIE illuminant. */
enum Illuminant {
    IlluminantD65 = 0,
    IlluminantD50 = 1,
    IlluminantA = 2,
    IlluminantC = 3,
    IlluminantD55 = 4,
    IlluminantD75 = 5,
    IlluminantF1 = 6,
    IlluminantF2 = 7,
    IlluminantF3 = 8,
    IlluminantF4 = 9,
    IlluminantF5 = 10,
    IlluminantF6 = 11,
    IlluminantF7 = 12,
    IlluminantF8 = 13,
    IlluminantF9 = 14,
    IlluminantF10 = 15,
    IlluminantF11 = 16,
    IlluminantF12 = 17
};

/** A CIE standard observer. */
enum Observer {
    Observer2Degree = 0, /**< CIE 1931, 2 degrees */
    Observer10Degree = 1 /**< CIE 1964, 10 degrees */
};

/*
 * The three colour functions need no instrument, keep no state and may run on any number of threads
 * at once. They return CQ_NO_ERROR, or with `color` untouched 16 when the illuminant is outside
 * 0..17 or the observer outside 0..1, 18 when the colour space is 7 or above 9.
 */

/** @param spectrum  31 reflectance factors at 400, 410 ... 700 nm; 1.0 is the perfect white. */
CQ_API uint32_t cqGetColorDataFromSpectralData(const float* spectrum, uint32_t colorSpace,
                                               int32_t illuminant, int32_t observer,
                                               ColorData* color);

/** @param xyz  X, Y, Z under the given illuminant and observer; the perfect white has Y = 100. */
CQ_API uint32_t cqGetColorDataFromXyz(int32_t illuminant, int32_t observer, const float* xyz,
                                      uint32_t colorSpace, ColorData* color);

/** @param lab  L*, a*, b* under the given illuminant and observer. */
CQ_API uint32_t cqGetColorDataFromLab(int32_t illuminant, int32_t observer, const float* lab,
                                      uint32_t colorSpace, ColorData* color);

/* ------------------------------------------------------------------------ additions */

/*
 * What follows came after the functions above and changes nothing of them. The colour functions
 * here are like those above: no instrument, no state, any number of threads, 31 fractions at 400,
 * 410 ... 700 nm for a spectrum. They compute in double precision. Results other than CQ_NO_ERROR
 * leave the outputs untouched: 16 for an argument out of its range and for a value that is not
 * defined for these inputs, 17 for an index that is not defined for this illuminant and observer.
 * Where two colours are compared, differences are the trial's values less the standard's.
 */

/**
 * As cqOpen, within a time, and with the reason for a failure.
 *
 * @param milliseconds  for all of it: finding the instrument, opening its port, the connection;
 *                      0xFFFFFFFF is no limit.
 * @param handle        receives the handle to close with cqClose; NULL unless the result is
 *                      CQ_NO_ERROR.
 * @return CQ_NO_ERROR; CQ_RECEIVING_TIMEOUT: the time was up; CQ_CANNOT_FOUND_DEVICE: no port, or
 *         none that could be opened; CQ_FAIL_TO_OPEN: the port cannot be opened, or the instrument
 *         refused the connection; CQ_UNKNOWN_ERROR.
 *
 * Returns at most 50 ms after the time, and leaves nothing behind then. Unlike cqOpen it asks again
 * every 500 ms, so that an instrument that is still starting is found.
 */
CQ_API uint32_t cqOpenWithin(const char* portName, uint32_t milliseconds, CqHandle* handle);

/**
 * As cqOpenByBleDongle, within a time, and with the reason for a failure.
 *
 * @param milliseconds,handle  as for cqOpenWithin. 5000 are enough for a known address, 8000 with a
 *                             scan. A link that is up when the time is up is taken down again.
 * @return as cqOpenWithin; CQ_CANNOT_FOUND_DEVICE: no adapter, or no instrument within reach;
 *         CQ_FAIL_TO_OPEN: the adapter's port cannot be opened; CQ_UNKNOWN_ERROR: the adapter does
 *         not answer as it should, or there is no link to the instrument.
 */
CQ_API uint32_t cqOpenByBleDongleWithin(const char* adapterPortName, const char* slaveAddress,
                                        uint32_t milliseconds, CqHandle* handle);

/** The text of a result code; "unknown error" from 20 on. Static: not to be freed. */
CQ_API const char* cqGetResultText(uint32_t code);

/** The library's version, as CQAPI_VERSION_STRING of its own header. Static: not to be freed. */
CQ_API const char* cqGetVersion(void);

/** A formula for the difference of two colours. C0 is the standard's chroma. */
enum CqDifferenceFormula {
    CqDeltaE76 = 0,        /**< CIELAB, the distance (ISO/CIE 11664-4) */
    CqDeltaE94 = 1,        /**< CIE94, graphic arts 1:1:1 (CIE 116-1995); weights from C0 */
    CqDeltaE94Textile = 2, /**< CIE94, textiles 2:1:1 */
    CqDeltaECmc = 3,       /**< CMC 2:1 (ISO 105-J03, BS 6923); weights from the standard */
    CqDeltaE2000 = 4,      /**< CIEDE2000 1:1:1 (ISO/CIE 11664-6) */
    CqDeltaE99 = 5,        /**< DIN99 (DIN 6176:2001) */
    CqDeltaE99o = 6        /**< DIN99o (DIN 6176:2018) */
};

#pragma pack(push, 1)

/** How a trial differs from a standard, 24 bytes. All but the first are CIELAB's, whatever the
 *  formula. */
typedef struct CqColorDifference {
    float deltaE; /**< by the formula that was asked for */
    float deltaL; /**< L*; above 0: lighter */
    float deltaA; /**< a*; above 0: redder or less green */
    float deltaB; /**< b*; above 0: yellower or less blue */
    float deltaC; /**< C*ab; above 0: more vivid */
    float deltaH; /**< H*ab; above 0: anticlockwise, from red to yellow to green to blue, and for
                       exactly opposite hues; 0 if a colour is neutral */
} CqColorDifference;

#pragma pack(pop)

CQ_CHECK_SIZE(CqColorDifference, 24);
#undef CQ_CHECK_SIZE

/**
 * Compares two colours.
 *
 * @param formula      of CqDifferenceFormula.
 * @param factors      NULL for the usual ones, else three numbers above 0: kL, kC, kH; for CMC l, c
 *                     and one that is not read; not read for CIELAB, DIN99 and DIN99o. A larger
 *                     factor makes its part count less.
 * @param standardLab  L*, a*, b*. CIE94 and CMC change when standard and trial change places.
 * @param trialLab     for the same illuminant and observer.
 * @return CQ_NO_ERROR, or CQ_INVALID_PARAMETER for an unknown formula or a factor not above 0.
 */
CQ_API uint32_t cqGetColorDifference(uint32_t formula, const float* factors,
                                     const ColorData* standardLab, const ColorData* trialLab,
                                     CqColorDifference* difference);

/** An index of nearly white colours, and the illuminants and observers that it is defined for. */
enum CqColorIndex {
    CqWhitenessCie = 0,   /**< CIE whiteness W (CIE 15): D65, 2 and 10 degrees */
    CqTintCie = 1,        /**< CIE tint T, as W; above 0 greenish, below 0 reddish */
    CqWhitenessE313 = 2,  /**< ASTM E313 whiteness: C, D50 and D65, 2 and 10 degrees */
    CqTintE313 = 3,       /**< ASTM E313 tint, as its whiteness */
    CqYellownessE313 = 4, /**< ASTM E313 yellowness: C and D65, 2 and 10 degrees */
    CqYellownessD1925 = 5 /**< ASTM D1925 yellowness (withdrawn): C and 2 degrees */
};

/**
 * Computes an index.
 *
 * @param index           of CqColorIndex.
 * @param xyz             X, Y, Z; the perfect white has Y = 100.
 * @param isWithinLimits  may be NULL; else whether the colour is within the limits of its standard:
 *                        40 < W < 5 Y - 280 and, of CIE, -4 < T < 2, of E313, -3 < T < 3, for
 *                        whiteness and tint alike. Yellowness has no limits: true.
 * @return CQ_NO_ERROR; CQ_INVALID_PARAMETER: an unknown index, illuminant or observer, or Y or
 *         X + Y + Z not above 0; CQ_NOT_SUPPORTED: not defined for this illuminant and observer.
 */
CQ_API uint32_t cqGetColorIndex(uint32_t index, int32_t illuminant, int32_t observer,
                                const ColorData* xyz, float* value, bool* isWithinLimits);

/** What of K/S = (1 - R)^2 / (2 R) (Kubelka and Munk; 0 for R above 1) is compared. */
enum CqStrengthMethod {
    CqStrengthSingleWavelength = 0, /**< where the standard's is largest, the first of equals */
    CqStrengthSum = 1,              /**< its sum over the 31 samples */
    CqStrengthWeighted = 2 /**< its sum weighted by wX + wY + wZ of the ASTM E308 weights */
};

/**
 * Computes the relative colour strength of a trial, in percent of the standard's.
 *
 * @param method      of CqStrengthMethod.
 * @param illuminant  whose weights count, with the observer; by the other methods checked alone.
 * @return CQ_NO_ERROR, or CQ_INVALID_PARAMETER: an unknown method, illuminant or observer; a
 *         reflectance of 0 or less, of the trial where it counts; a standard whose K/S is 0.
 */
CQ_API uint32_t cqGetColorStrength(uint32_t method, int32_t illuminant, int32_t observer,
                                   const float* standard, const float* trial, float* percent);

/** How the trial is made equal to the standard under the reference illuminant. */
enum CqMetamerismCorrection {
    CqMetamerismMultiplicative = 0, /**< X, Y and Z times a factor each; the usual one */
    CqMetamerismAdditive = 1        /**< L*, a* and b* plus a number each */
};

/**
 * Computes the special metamerism index for a change of illuminant (CIE 15, ISO 18314-4, DIN 6172):
 * the difference under the test illuminant of two colours that match under the reference
 * illuminant, the trial being corrected if it does not quite. By the formula's usual factors.
 *
 * @param formula     of CqDifferenceFormula.
 * @param correction  of CqMetamerismCorrection.
 * @return CQ_NO_ERROR, or CQ_INVALID_PARAMETER: an unknown formula, correction, illuminant or
 *         observer; X, Y or Z of the trial under the reference illuminant not above 0, of the
 *         multiplicative correction.
 */
CQ_API uint32_t cqGetMetamerismIndex(uint32_t formula, uint32_t correction,
                                     int32_t referenceIlluminant, int32_t testIlluminant,
                                     int32_t observer, const float* standard, const float* trial,
                                     float* index);

/** A grey scale for the assessment of colour fastness. */
enum CqGreyScale {
    CqGreyScaleChange = 0,  /**< change in colour, ISO 105-A05 */
    CqGreyScaleStaining = 1 /**< staining of adjacent fabric, ISO 105-A04 */
};

/**
 * Rates a change of colour or a stain as the grey scales do.
 *
 * @param scale        of CqGreyScale.
 * @param standardLab  L*, a*, b* before the test, for D65 and 10 degrees or C and 2 degrees.
 * @param trialLab     after it.
 * @param rating       the formula's number, 5 for no difference; at least 1 for change, less for a
 *                     stain beyond the scale.
 * @param step         the scale's step: 5, 4.5, 4 ... 1; 4.5 is written 4-5.
 * @return CQ_NO_ERROR, or CQ_INVALID_PARAMETER for an unknown scale.
 */
CQ_API uint32_t cqGetGreyScaleRating(uint32_t scale, const ColorData* standardLab,
                                     const ColorData* trialLab, float* rating, float* step);

#ifdef __cplusplus
}
#endif

#endif /* CQAPI_CQAPI_H */

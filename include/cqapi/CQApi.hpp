#pragma once

/** @file
 * CQApi for C++20: the functions of CQApi.h as classes, ranges and exceptions. Header only; links
 * against the same library. CQApi.h is the manual for each operation; this file describes only the
 * differences.
 *
 *     cqapi::Instrument instrument = cqapi::Instrument::open();  // find it and connect
 *     instrument.calibrateWhite();
 *     instrument.calibrateBlack();
 *     const cqapi::MeasurementRecord record = instrument.measureStandard();
 *
 * ERRORS. Every code but CQ_NO_ERROR is thrown as cqapi::Error with the code and its text; each
 * function can throw the codes that CQApi.h gives for it. An invalid argument that the library
 * itself does not check throws std::invalid_argument, before anything is sent.
 *
 * THREADS. As in CQApi.h: different instruments run in parallel, one instrument handles one request
 * at a time. close() may be called while another thread's call runs, which then throws. Moving or
 * destroying an Instrument requires that no other thread uses it.
 */

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "cqapi/Color.hpp"
#include "cqapi/CQApi.h"
#include "cqapi/Error.hpp"

namespace cqapi {

// -------------------------------------------------------------------------- records

using MeasurementRecord = CqMeasurementRecord;
using InstrumentStatus = CqInstrumentStatus;
using WhiteBoardParameter = CqWhiteBoardParameter;

/** The text of a record's field, which need not end with a NUL. */
template <std::size_t Size>
std::string fieldText(const char (&field)[Size]) {
    return {field, std::find(field, field + Size, '\0')};
}

/** As CqDeviceInfo. */
struct DeviceInfo {
    std::string infoText3;
    std::string infoText11;
    std::string infoText4;
    std::string infoText7;
    std::string infoText6;
    std::string infoText12;
    /** How many standards a wired instrument can store; 0 for a wireless one. */
    std::uint32_t standardCapacity = 0;
};

/** As CqBleSlave: a wireless instrument within reach. */
struct Slave {
    std::string name;    /**< empty if longer than 15 characters */
    std::string address; /**< hexadecimal digits, for Instrument::openWireless() */
    std::int32_t rssi;   /**< dBm: negative, nearer to 0 is stronger */
};

/**
 * Reads a spectrum out of a record, as 31 successive little-endian 32-bit floats.
 *
 * @param offset  its first byte, 0..132, as the instrument's manual gives it; 64 for the virtual
 *                instrument.
 * @throw std::invalid_argument if it would extend beyond the record.
 */
inline Spectrum spectrumAt(const MeasurementRecord& record, std::size_t offset) {
    static_assert(sizeof(float) == 4);
    Spectrum spectrum;
    if (offset > sizeof record.bytes - sizeof spectrum) {
        throw std::invalid_argument("a spectrum begins at byte 0 to 132 of a record");
    }
    std::memcpy(spectrum.data(), record.bytes + offset, sizeof spectrum);
    return spectrum;
}

// -------------------------------------------------------------------------- instrument

/**
 * An open instrument, closed with the object. Movable, not copyable. A moved-from or closed one
 * throws Error with CQ_NOT_SUPPORTED from every call.
 */
class Instrument {
  public:
    /** Receives a measurement made with the instrument's own button. The record is valid only
     *  during the call. */
    using MeasurementHandler =
        std::function<void(bool isStandard, const MeasurementRecord& record)>;

    /**
     * Opens a wired instrument; see cqOpen and cqOpenWithin.
     *
     * @param portName  empty: search every port that carries the instrument's USB identity.
     * @param timeout   for all of it, up to 49 days; without one, as long as the port stays silent.
     * @throw Error  with the reason: CQ_CANNOT_FOUND_DEVICE, CQ_FAIL_TO_OPEN, CQ_RECEIVING_TIMEOUT
     *               when the time was up, CQ_UNKNOWN_ERROR.
     */
    static Instrument open(const std::string& portName = {},
                           std::optional<std::chrono::milliseconds> timeout = {}) {
        CqHandle handle = nullptr;
        const auto code = cqOpenWithin(portName.c_str(), milliseconds(timeout), &handle);
        return Instrument(code, handle, "an instrument", portName);
    }

    /**
     * Opens a wireless instrument through the adapter; see cqOpenByBleDongle and
     * cqOpenByBleDongleWithin.
     *
     * @param adapterPortName  empty: search every port that may be an adapter's.
     * @param slaveAddress     a Slave::address; empty: the instrument with the strongest signal.
     * @param timeout          as for open().
     * @throw Error  as open().
     */
    static Instrument openWireless(const std::string& adapterPortName = {},
                                   const std::string& slaveAddress = {},
                                   std::optional<std::chrono::milliseconds> timeout = {}) {
        CqHandle handle = nullptr;
        const auto code = cqOpenByBleDongleWithin(adapterPortName.c_str(), slaveAddress.c_str(),
                                                  milliseconds(timeout), &handle);
        return Instrument(code, handle, "a wireless instrument", adapterPortName);
    }

    /** Says goodbye and closes; does nothing the second time. Waits for a running handler, so do
     *  not call it from within one. */
    void close() noexcept {
        if (link_) {
            link_->close();
        }
    }

    /** False once closed or moved from. Does not ask the instrument whether it is still there. */
    bool isOpen() const noexcept { return cqIsValidHandle(handle()); }
    /** For functions of CQApi.h; still owned by this object. Null once closed. */
    CqHandle handle() const noexcept { return link_ ? link_->handle.load() : nullptr; }

    /** The port of the connection. */
    std::string portName() const {
        std::array<char, 4097> name{};  // longer than any path, and the last NUL stays
        check(cqGetPortName(handle(), name.data(), static_cast<std::int32_t>(name.size() - 1)),
              "cqGetPortName");
        return name.data();
    }

    DeviceInfo deviceInfo() {
        const auto info = read<CqDeviceInfo>(cqGetDeviceInfo, "cqGetDeviceInfo");
        return {fieldText(info.infoText3),
                fieldText(info.infoText11),
                fieldText(info.infoText4),
                fieldText(info.infoText7),
                fieldText(info.infoText6),
                fieldText(info.infoText12),
                static_cast<std::uint32_t>(info.trailingValue)};
    }
    /** Bytes that a wireless instrument does not report are 0. */
    InstrumentStatus status() {
        return read<InstrumentStatus>(cqGetInstrumentStatus, "cqGetInstrumentStatus");
    }

    void calibrateWhite() { check(cqCalibrateWhite(handle()), "cqCalibrateWhite"); }
    void calibrateBlack() { check(cqCalibrateBlack(handle()), "cqCalibrateBlack"); }
    MeasurementRecord measureStandard() {
        return read<MeasurementRecord>(cqMeasureStandard, "cqMeasureStandard");
    }
    MeasurementRecord measureTrial() {
        return read<MeasurementRecord>(cqMeasureTrial, "cqMeasureTrial");
    }

    /**
     * Sets the handler of measurements made with the instrument's button, replacing any earlier
     * one; an empty one removes it. It runs on a thread of the library and must not call this
     * instrument, except to set another handler. When the call returns, an earlier handler has
     * ended and will not be called again, unless the call is made from within it.
     *
     * An exception thrown by the handler is caught and kept; rethrowHandlerException() throws it.
     */
    void setMeasurementHandler(MeasurementHandler handler) {
        const bool isSet = static_cast<bool>(handler);
        if (link_) {
            link_->store(std::move(handler));
        }
        const std::uint32_t code = cqSetMeasurementResultReceivedCallback(
            handle(), isSet ? &Link::receive : nullptr, link_.get());
        if (code != CQ_NO_ERROR && link_) {
            link_->store({});
        }
        check(code, "cqSetMeasurementResultReceivedCallback");
    }
    /** Throws the first exception of a handler since the last call, if there was one. */
    void rethrowHandlerException() {
        if (const std::exception_ptr exception = link_ ? link_->takeException() : nullptr) {
            std::rethrow_exception(exception);
        }
    }

    std::uint32_t totalStandards() {
        return read<std::uint32_t>(cqGetTotalStandards, "cqGetTotalStandards");
    }
    std::uint32_t totalSamples() {
        return read<std::uint32_t>(cqGetTotalSamples, "cqGetTotalSamples");
    }
    /** A wired instrument counts the samples of all standards, whatever the index. */
    std::uint32_t sampleCount(std::uint32_t standardIndex) {
        std::uint32_t count = 0;
        check(cqGetSampleCount(handle(), standardIndex, &count), "cqGetSampleCount");
        return count;
    }

    /** Fills `records` with stored standards from `firstIndex` on, in index order; elements beyond
     *  those that the instrument holds keep their values. */
    void uploadStandards(std::span<MeasurementRecord> records, std::uint32_t firstIndex = 0) {
        check(cqUploadStandards(handle(), records.data(), firstIndex, size(records)),
              "cqUploadStandards");
    }
    /** Reads up to `count` standards; asks first how many there are. */
    std::vector<MeasurementRecord> uploadStandards(std::uint32_t firstIndex = 0,
                                                   std::uint32_t count = CQ_ALL_RECORDS) {
        std::vector<MeasurementRecord> records(remaining(totalStandards(), firstIndex, count));
        if (!records.empty()) {
            uploadStandards(records, firstIndex);
        }
        return records;
    }

    /** Fills `records` with stored samples of one standard from `firstIndex` on, in index order;
     *  zeroes elements beyond those that the instrument holds. Over a slow link read in portions. */
    void uploadSamples(std::span<MeasurementRecord> records, std::uint32_t standardIndex,
                       std::uint32_t firstIndex) {
        check(cqUploadSamples(handle(), records.data(), standardIndex, firstIndex, size(records)),
              "cqUploadSamples");
    }
    /** Reads up to `count` samples; asks first with sampleCount() how many there are. */
    std::vector<MeasurementRecord> uploadSamples(std::uint32_t standardIndex,
                                                 std::uint32_t firstIndex = 0,
                                                 std::uint32_t count = CQ_ALL_RECORDS) {
        std::vector<MeasurementRecord> records(
            remaining(sampleCount(standardIndex), firstIndex, count));
        if (!records.empty()) {
            uploadSamples(records, standardIndex, firstIndex);
        }
        return records;
    }

    /** Appends standards to those that the instrument holds. Does nothing if `records` is empty. */
    void downloadStandards(std::span<const MeasurementRecord> records) {
        if (!records.empty()) {
            check(cqDownloadStandards(handle(), records.data(), size(records)),
                  "cqDownloadStandards");
        }
    }

    /** @throw std::invalid_argument for an index of 0x7FFFFFFF or more: on a wired line, where bit 31
     *  is set, the instrument could take it for "everything". */
    void deleteStandard(std::uint32_t standardIndex) {
        if (standardIndex >= 0x7FFFFFFF) {
            throw std::invalid_argument("no standard has this index; see deleteAllRecords()");
        }
        check(cqDeleteStandard(handle(), standardIndex), "cqDeleteStandard");
    }
    /** Deletes every stored standard and sample. */
    void deleteAllRecords() { check(cqDeleteAllRecords(handle()), "cqDeleteAllRecords"); }
    void deleteSample(std::uint32_t standardIndex, std::uint32_t sampleIndex) {
        check(cqDeleteSample(handle(), standardIndex, sampleIndex), "cqDeleteSample");
    }

    WhiteBoardParameter whiteBoardParameter() {
        return read<WhiteBoardParameter>(cqGetWhiteBoardParameter, "cqGetWhiteBoardParameter");
    }
    /** For wired instruments; a wireless one accepts only the text. */
    void setWhiteBoardParameter(const WhiteBoardParameter& parameter) {
        check(cqSetWhiteBoardParameter(handle(), &parameter), "cqSetWhiteBoardParameter");
    }

    /** Wired instruments only, as is setting one; others throw CQ_NOT_SUPPORTED. */
    std::uint8_t measurementParameter(std::uint8_t number) {
        std::uint32_t value = 0;
        check(cqGetMeasurementParameter(handle(), number, &value), "cqGetMeasurementParameter");
        return static_cast<std::uint8_t>(value);
    }
    void setMeasurementParameter(std::uint8_t number, std::uint8_t value) {
        check(cqSetMeasurementParameter(handle(), number, value), "cqSetMeasurementParameter");
    }

  private:
    /// Must not move: the library holds its address for the callback.
    struct Link {
        explicit Link(CqHandle opened) noexcept : handle(opened) {}
        ~Link() { close(); }
        Link(const Link&) = delete;
        Link& operator=(const Link&) = delete;

        void close() noexcept {
            cqClose(handle.exchange(nullptr));
            store({});
        }
        void store(MeasurementHandler next) {
            auto shared = next ? std::make_shared<MeasurementHandler>(std::move(next)) : nullptr;
            const std::lock_guard lock(mutex);
            handler.swap(shared);  // the old one is destroyed after the lock: it may own anything
        }
        std::exception_ptr takeException() {
            const std::lock_guard lock(mutex);
            return std::exchange(exception, nullptr);
        }
        /// A handler may replace itself, so the running one is kept alive by a shared pointer.
        static void receive(bool isStandard, const CqMeasurementRecord* record,
                            void* user) noexcept {
            auto* const self = static_cast<Link*>(user);
            const auto handler = [self] {
                const std::lock_guard lock(self->mutex);
                return self->handler;
            }();
            try {
                if (handler) {
                    (*handler)(isStandard, *record);
                }
            } catch (...) {
                const std::lock_guard lock(self->mutex);
                if (!self->exception) {
                    self->exception = std::current_exception();
                }
            }
        }

        std::atomic<CqHandle> handle;
        std::mutex mutex;  ///< of the following
        std::shared_ptr<MeasurementHandler> handler;
        std::exception_ptr exception;
    };

    Instrument(std::uint32_t code, CqHandle opened, const std::string& what,
               const std::string& portName) {
        if (code != CQ_NO_ERROR) {
            throw Error(code, portName.empty() ? "searching the ports for " + what
                                               : "opening " + what + " on " + portName);
        }
        link_ = std::make_unique<Link>(opened);
    }

    /// A time as the library takes it; none is no limit.
    static std::uint32_t milliseconds(std::optional<std::chrono::milliseconds> time) {
        constexpr std::int64_t kNoLimit = 0xFFFFFFFF;
        return static_cast<std::uint32_t>(
            time ? std::clamp<std::int64_t>(time->count(), 0, kNoLimit - 1) : kNoLimit);
    }

    template <class T>
    T read(std::uint32_t (*call)(CqHandle, T*), const char* name) {
        T value{};
        check(call(handle(), &value), name);
        return value;
    }

    static std::uint32_t size(std::span<const MeasurementRecord> records) {
        if (records.size() >= CQ_ALL_RECORDS) {
            throw std::invalid_argument("too many records for one call");
        }
        return static_cast<std::uint32_t>(records.size());
    }
    /// The number of records is fixed here, not by CQ_ALL_RECORDS: a record that the instrument
    /// stores meanwhile must not be written beyond the vector's end.
    static std::uint32_t remaining(std::uint32_t total, std::uint32_t first, std::uint32_t count) {
        return std::min(total > first ? total - first : 0, count);
    }

    std::unique_ptr<Link> link_;
};

/**
 * Lists the wireless instruments within the adapter's reach; see cqScanBleSlaves. The adapter must
 * not be in use. Takes about 2 to 5 s. An empty list is not an error.
 *
 * @throw Error  CQ_FAIL_TO_OPEN, CQ_SYSTEM_ERROR (no adapter answers on the port).
 */
inline std::vector<Slave> scan(const std::string& adapterPortName) {
    CqBleSlave* list = nullptr;
    const std::uint32_t code = cqScanBleSlaves(adapterPortName.c_str(), &list);
    const std::unique_ptr<CqBleSlave, void (*)(void*)> owner(list, &cqFree);
    check(code, "cqScanBleSlaves");
    std::vector<Slave> slaves;
    constexpr CqBleSlave kEnd{};
    for (; list != nullptr && std::memcmp(list, &kEnd, sizeof kEnd) != 0; ++list) {
        slaves.push_back({fieldText(list->name), fieldText(list->address), list->rssi});
    }
    return slaves;
}

// -------------------------------------------------------------------------- debug log

/** Starts the debug log, in a file beside the library; see cqEnableDebugLog. @return false when the
 *  file cannot be opened. */
inline bool enableDebugLog() noexcept {
    return cqEnableDebugLog();
}

/** Stops the debug log and closes its file. */
inline void disableDebugLog() noexcept {
    cqDiableDebugLog();
}

}  // namespace cqapi

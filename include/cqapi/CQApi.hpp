#pragma once

/** @file
 * CQApi for C++20: the functions of CQApi.h as classes, ranges and exceptions. Header only; links
 * against the same library. CQApi.h is the manual of what each operation does; this file says what
 * is different.
 *
 *     cqapi::Instrument instrument = cqapi::Instrument::open();  // find it and connect
 *     instrument.calibrateWhite();
 *     instrument.calibrateBlack();
 *     const cqapi::MeasurementRecord record = instrument.measureStandard();
 *
 * ERRORS. What is not CQ_NO_ERROR is thrown as cqapi::Error with the code and its text; each
 * function can throw the codes that CQApi.h gives for it. An argument that the library would not
 * check itself throws std::invalid_argument, before anything is sent.
 *
 * THREADS. As in CQApi.h: different instruments run in parallel, one instrument handles one request
 * at a time. close() may be called while another thread's call runs, which then throws. Moving and
 * destroying an Instrument need it for themselves.
 */

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
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

/** The text of a record's field; also right for one that is not ended by a NUL. */
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
    /** How many standards a wired instrument can store; 0 of a wireless one. */
    std::uint32_t standardCapacity = 0;
};

/** As CqBleSlave: a wireless instrument within reach. */
struct Slave {
    std::string name;    /**< empty when it is longer than 15 characters */
    std::string address; /**< hexadecimal digits, to be given to Instrument::openWireless() */
    std::int32_t rssi;   /**< dBm: negative, nearer to 0 is stronger */
};

/**
 * Reads a spectrum out of a record, as 31 successive little-endian 32-bit floats.
 *
 * @param offset  where it begins, 0..132: the instrument's manual tells. 64 for the virtual
 *                instrument.
 * @throw std::invalid_argument when it would end beyond the record.
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
    /** Receives a measurement made with the instrument's own button. The record is valid during the
     *  call only. */
    using MeasurementHandler =
        std::function<void(bool isStandard, const MeasurementRecord& record)>;

    /**
     * Opens a wired instrument; see cqOpen, also for how long it can take.
     *
     * @param portName  empty: search every port that carries the instrument's USB identity.
     * @throw Error  the library does not tell why opening failed, its debug log does; the code is
     *               CQ_CANNOT_FOUND_DEVICE after a search and CQ_FAIL_TO_OPEN for a named port.
     */
    static Instrument open(const std::string& portName = {}) {
        return Instrument(cqOpen(portName.c_str()), "an instrument", portName);
    }

    /**
     * Opens a wireless instrument through the adapter; see cqOpenByBleDongle.
     *
     * @param adapterPortName  empty: search every port that may be an adapter's.
     * @param slaveAddress     a Slave::address; empty: the one with the strongest signal.
     * @throw Error  as open().
     */
    static Instrument openWireless(const std::string& adapterPortName = {},
                                   const std::string& slaveAddress = {}) {
        return Instrument(cqOpenByBleDongle(adapterPortName.c_str(), slaveAddress.c_str()),
                          "a wireless instrument", adapterPortName);
    }

    /** Says goodbye and closes; does nothing the second time. Waits for a running handler, so not
     *  from within it. */
    void close() noexcept {
        if (link_) {
            link_->close();
        }
    }

    /** False once closed or moved from. Does not ask the instrument whether it is still there. */
    bool isOpen() const noexcept { return cqIsValidHandle(handle()); }
    /** For functions of CQApi.h; stays this object's. Null when closed. */
    CqHandle handle() const noexcept { return link_ ? link_->handle.load() : nullptr; }

    /** The port that it is connected through. */
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
    /** Bytes that a wireless instrument does not tell are 0. */
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
     * Sets what receives measurements made on the instrument, in place of any earlier handler; an
     * empty one removes it. It runs on a thread of the library and must not call this instrument,
     * except to set another handler. When the call returns, an earlier handler has ended and will
     * not be called again, unless the call is made from within it.
     *
     * An exception that leaves the handler goes no further; rethrowHandlerException() throws it.
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
    /** Throws the first exception that has left the handler since the last call; else nothing. */
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

    /** Fills `records` with stored standards from `firstIndex` on, in index order; places beyond
     *  those that the instrument holds are left as they were. */
    void uploadStandards(std::span<MeasurementRecord> records, std::uint32_t firstIndex = 0) {
        check(cqUploadStandards(handle(), records.data(), firstIndex, size(records)),
              "cqUploadStandards");
    }
    /** Reads at most `count` standards, as many as there are; asks for their number first. */
    std::vector<MeasurementRecord> uploadStandards(std::uint32_t firstIndex = 0,
                                                   std::uint32_t count = CQ_ALL_RECORDS) {
        std::vector<MeasurementRecord> records(remaining(totalStandards(), firstIndex, count));
        if (!records.empty()) {
            uploadStandards(records, firstIndex);
        }
        return records;
    }

    /** Fills `records` with stored samples of one standard from `firstIndex` on, in index order;
     *  zeroes places beyond those that the instrument holds. Ask for portions over a slow link. */
    void uploadSamples(std::span<MeasurementRecord> records, std::uint32_t standardIndex,
                       std::uint32_t firstIndex) {
        check(cqUploadSamples(handle(), records.data(), standardIndex, firstIndex, size(records)),
              "cqUploadSamples");
    }
    /** Reads at most `count` samples, as many as sampleCount() says; asks for that first. */
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

    /** Appends standards to those that the instrument holds. Does nothing for none. */
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
    /** Wired instruments; a wireless one takes the text alone. */
    void setWhiteBoardParameter(const WhiteBoardParameter& parameter) {
        check(cqSetWhiteBoardParameter(handle(), &parameter), "cqSetWhiteBoardParameter");
    }

    /** Wired instruments; others throw CQ_NOT_SUPPORTED, here and below. */
    std::uint8_t measurementParameter(std::uint8_t number) {
        std::uint32_t value = 0;
        check(cqGetMeasurementParameter(handle(), number, &value), "cqGetMeasurementParameter");
        return static_cast<std::uint8_t>(value);
    }
    void setMeasurementParameter(std::uint8_t number, std::uint8_t value) {
        check(cqSetMeasurementParameter(handle(), number, value), "cqSetMeasurementParameter");
    }

  private:
    /// What must stay where it is: the library has its address for the callback.
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
            handler.swap(shared);  // the earlier one goes after the lock: it may own anything
        }
        std::exception_ptr takeException() {
            const std::lock_guard lock(mutex);
            return std::exchange(exception, nullptr);
        }
        /// A handler may replace itself, and what runs must not go: a share of it is held.
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

    Instrument(CqHandle opened, const std::string& what, const std::string& portName) {
        if (opened == nullptr) {
            throw portName.empty()
                ? Error(CQ_CANNOT_FOUND_DEVICE, "searching the ports for " + what)
                : Error(CQ_FAIL_TO_OPEN, "opening " + what + " on " + portName);
        }
        link_ = std::make_unique<Link>(opened);
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
    /// The number of records is fixed here, not by CQ_ALL_RECORDS: one that the instrument gains
    /// meanwhile must not be written beyond the vector's end.
    static std::uint32_t remaining(std::uint32_t total, std::uint32_t first, std::uint32_t count) {
        return std::min(total > first ? total - first : 0, count);
    }

    std::unique_ptr<Link> link_;
};

/**
 * Lists the wireless instruments within the adapter's reach; see cqScanBleSlaves. The adapter must
 * not be in use. Takes about 2 to 5 s. Nobody within reach is no error.
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

/** Starts the library's debug log, in a file beside it; see cqEnableDebugLog. @return false when
 *  the file cannot be opened. */
inline bool enableDebugLog() noexcept {
    return cqEnableDebugLog();
}

/** Stops the debug log and closes its file. */
inline void disableDebugLog() noexcept {
    cqDiableDebugLog();
}

}  // namespace cqapi

#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <string>

#include "api/Deadline.h"
#include "api/HandlerSlot.h"
#include "api/Records.h"
#include "api/ResultCode.h"

namespace ovk::cq {

/// Drives one instrument, whatever it is connected by.
///
/// Operations return a result code or throw a CommunicationException that carries one. They may be
/// called from any thread, open() before all others. Outputs are written on success alone, unless
/// an operation says otherwise.
class Driver {
  public:
    using ResultHandler = HandlerSlot<RECORD_TYPE, const CqMeasurementRecord&>::Handler;

    Driver() = default;
    virtual ~Driver() = default;
    Driver(const Driver&) = delete;
    Driver& operator=(const Driver&) = delete;

    /// \param portName the port of the instrument, or of the adapter; empty: the first port on which
    ///        one answers.
    /// \param slaveAddress of a wireless instrument; empty: the one with the strongest signal.
    /// \param deadline limits every wait; an opening that fails leaves nothing behind. Without one no
    ///        request is repeated.
    virtual ResultCode open(const std::string& portName, const std::string& slaveAddress,
                            std::optional<Deadline> deadline) = 0;
    /// Ends the connection; calls that wait end with CQ_DEVICE_IS_CLOSED. Not beside another close,
    /// and not in the result handler.
    virtual void close() = 0;
    /// True from a successful open() to close(), or to the end of the session.
    virtual bool isConnected() = 0;
    /// The port's name; empty without one.
    virtual std::string portName() const = 0;
    /// What a call holds while its operation runs, where operations must not overlap.
    virtual std::unique_lock<std::mutex> takeTurn() { return {}; }

    /// Replaces the handler of unrequested measurements; an empty one removes it. When this
    /// returns an earlier handler has ended, unless it is that handler itself that calls.
    void setResultHandler(ResultHandler handler) { resultHandler_.set(std::move(handler)); }
    /// True in the result handler.
    bool isInResultHandler() const { return resultHandler_.isCalledHere(); }

    virtual ResultCode getDeviceInfo(CqDeviceInfo& info) = 0;
    virtual ResultCode getInstrumentStatus(CqInstrumentStatus& status) = 0;
    virtual ResultCode measure(RECORD_TYPE type, CqMeasurementRecord& record) = 0;
    virtual ResultCode calibrate(bool isWhite) = 0;
    virtual ResultCode getTotalStandards(std::uint32_t& count) = 0;
    /// \param standardIndex CQ_ALL_RECORDS counts the samples of every standard.
    virtual ResultCode getSampleCount(std::uint32_t standardIndex, std::uint32_t& count) = 0;
    /// \param records empty before; those that have come.
    /// \param count CQ_ALL_RECORDS: all from the first index on.
    virtual ResultCode uploadStandards(MeasurementRecords& records, std::uint32_t firstIndex,
                                       std::uint32_t count) = 0;
    /// As uploadStandards(), for the samples of one standard.
    virtual ResultCode uploadSamples(MeasurementRecords& records, std::uint32_t standardIndex,
                                     std::uint32_t firstIndex, std::uint32_t count) = 0;
    virtual ResultCode downloadStandards(std::span<const CqMeasurementRecord> records) = 0;
    virtual ResultCode getWhiteBoardParameter(CqWhiteBoardParameter& parameter) = 0;
    virtual ResultCode setWhiteBoardParameter(const CqWhiteBoardParameter& parameter) = 0;
    /// \param index CQ_ALL_RECORDS deletes everything.
    virtual ResultCode deleteStandard(std::uint32_t index) = 0;
    virtual ResultCode deleteSample(std::uint32_t standardIndex, std::uint32_t sampleIndex) = 0;
    virtual ResultCode getMeasurementParameter(std::uint8_t number, std::uint32_t& value) = 0;
    virtual ResultCode setMeasurementParameter(std::uint8_t number, std::uint8_t value) = 0;

  protected:
    HandlerSlot<RECORD_TYPE, const CqMeasurementRecord&> resultHandler_;
};

}  // namespace ovk::cq

#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "api/Records.h"
#include "api/ResultCode.h"
#include "spectro/Spectrophotometer.h"

namespace ovk::cq {

/// The object behind a handle: owns the driver of one instrument, forwards every operation to it
/// and turns its failures into result codes.
///
/// Has no lock of its own: every operation may be called from any thread, open() before all others.
/// The caller holds a shared reference for as long as a call runs.
class Instrument {
  public:
    Instrument();
    /// Closes if still connected.
    ~Instrument();
    Instrument(const Instrument&) = delete;
    Instrument& operator=(const Instrument&) = delete;

    /// \param portName empty: the first port on which an instrument answers.
    ResultCode open(const std::string& portName);
    /// Never fails; whatever goes wrong is swallowed.
    void close() noexcept;
    /// True on the thread that runs the measurement callback.
    bool isReceivingThread() const;

    /// The port's name; empty without one.
    std::string portName() const;
    /// Replaces the callback; null removes it.
    void setMeasurementCallback(CqMeasurementResultReceived callback, void* user);

    ResultCode getDeviceInfo(CqDeviceInfo& info);
    ResultCode getInstrumentStatus(CqInstrumentStatus& status);
    ResultCode measureStandard(CqMeasurementRecord& record);
    ResultCode measureTrial(CqMeasurementRecord& record);
    ResultCode calibrate(bool isWhite);
    ResultCode getTotalStandards(std::uint32_t& count);
    ResultCode getTotalSamples(std::uint32_t& count);
    ResultCode getSampleCount(std::uint32_t standardIndex, std::uint32_t& count);
    /// \param count how many; CQ_ALL_RECORDS is replaced by what that comes to.
    ResultCode uploadStandards(MeasurementRecords& records, std::uint32_t firstIndex,
                               std::uint32_t& count);
    /// \param count how many; CQ_ALL_RECORDS is replaced by what that comes to.
    ResultCode uploadSamples(MeasurementRecords& records, std::uint32_t standardIndex,
                             std::uint32_t firstIndex, std::uint32_t& count);
    ResultCode downloadStandards(std::span<const CqMeasurementRecord> records);
    ResultCode getWhiteBoardParameter(CqWhiteBoardParameter& parameter);
    ResultCode setWhiteBoardParameter(const CqWhiteBoardParameter& parameter);
    /// \param index CQ_ALL_RECORDS deletes everything.
    ResultCode deleteStandard(std::uint32_t index);
    ResultCode deleteSample(std::uint32_t standardIndex, std::uint32_t sampleIndex);
    ResultCode getMeasurementParameter(std::uint8_t number, std::uint32_t& value);
    ResultCode setMeasurementParameter(std::uint8_t number, std::uint8_t value);

  private:
    std::unique_ptr<Spectrophotometer> driver_;
};

}  // namespace ovk::cq

#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "api/Records.h"
#include "api/ResultCode.h"
#include "ble/SpectrophotometerBle.h"
#include "spectro/Spectrophotometer.h"

namespace ovk::cq {

/// The object behind a handle: owns the driver of one instrument, forwards every operation to it
/// and turns its failures into result codes.
///
/// Has no lock of its own: every operation may be called from any thread, open() before all others.
/// The caller holds a shared reference for as long as a call runs.
class Instrument {
  public:
    /// How the instrument is reached.
    enum class Kind : std::uint32_t { wired = 0, wireless = 1 };

    explicit Instrument(Kind kind);
    /// Closes if still connected.
    ~Instrument();
    Instrument(const Instrument&) = delete;
    Instrument& operator=(const Instrument&) = delete;

    /// \param portName the port of the instrument, or of the adapter; empty: the first port on
    /// which
    ///        one answers.
    /// \param slaveAddress of a wireless instrument; empty: the one with the strongest signal.
    ResultCode open(const std::string& portName, const std::string& slaveAddress = {});
    /// Never fails; whatever goes wrong is swallowed.
    void close() noexcept;
    /// True on the thread that runs the measurement callback.
    bool isReceivingThread() const;

    /// The port's name; empty without one.
    std::string portName() const;
    /// Of a wireless instrument, once it is open; the name only if it was scanned for.
    const std::string& slaveName() const { return slaveName_; }
    const std::string& slaveAddress() const { return slaveAddress_; }
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
    ResultCode openWireless(const std::string& adapterPortName, const std::string& slaveAddress);
    void closeWireless();
    ResultCode measure(RECORD_TYPE type, CqMeasurementRecord& record);

    // The driver of the instrument's kind; the other one is null.
    std::unique_ptr<Spectrophotometer> wired_;
    std::unique_ptr<SpectrophotometerBle> wireless_;
    std::string slaveName_;
    std::string slaveAddress_;
};

}  // namespace ovk::cq

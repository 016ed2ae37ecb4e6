#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "api/CommunicationException.h"
#include "api/Driver.h"

namespace ovk::cq {

/// The object behind a handle: owns the driver of one instrument, forwards every operation to it
/// and turns its failures into result codes.
///
/// Every operation may be called from any thread, open() before all others. The caller holds a
/// shared reference for as long as a call runs.
class Instrument {
  public:
    /// How the instrument is reached.
    enum class Kind : std::uint32_t { wired = 0, wireless = 1 };

    explicit Instrument(Kind kind);
    /// Closes if still connected.
    ~Instrument();
    Instrument(const Instrument&) = delete;
    Instrument& operator=(const Instrument&) = delete;

    /// See Driver::open(). Lets nothing pass: what is no communication failure gives
    /// CQ_UNKNOWN_ERROR. CQ_RECEIVING_TIMEOUT when it has failed after the deadline.
    ResultCode open(const std::string& portName, const std::string& slaveAddress,
                    std::optional<Deadline> deadline);
    /// Never fails; whatever goes wrong is swallowed. Not in the measurement callback.
    void close() noexcept;

    /// The port's name; empty without one.
    std::string portName() const { return driver_->portName(); }
    /// Replaces the callback; null removes it. When this returns an earlier one has ended, unless
    /// it is that callback itself that calls.
    void setMeasurementCallback(CqMeasurementResultReceived callback, void* user);
    /// True in the measurement callback.
    bool isInCallback() const { return driver_->isInResultHandler(); }

    /// Lets nothing pass, as open().
    ResultCode getInstrumentStatus(CqInstrumentStatus& status);
    /// Any other operation of the driver. What is no communication failure passes through.
    template <class... Parameters, class... Arguments>
    ResultCode perform(ResultCode (Driver::*operation)(Parameters...), Arguments&&... arguments) {
        try {
            const auto turn = driver_->takeTurn();
            return (driver_.get()->*operation)(std::forward<Arguments>(arguments)...);
        } catch (const CommunicationException& failure) {
            return failure.code();
        }
    }

  private:
    const std::unique_ptr<Driver> driver_;
    std::mutex closeMutex_;  // held while the driver closes
};

}  // namespace ovk::cq

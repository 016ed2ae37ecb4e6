#include "instrument/Instrument.h"

#include "ble/SpectrophotometerBle.h"
#include "spectro/Spectrophotometer.h"

namespace ovk::cq {
namespace {

std::unique_ptr<Driver> makeDriver(Instrument::Kind kind) {
    if (kind == Instrument::Kind::wired) {
        return std::make_unique<Spectrophotometer>();
    }
    return std::make_unique<SpectrophotometerBle>();
}

/// The result of the operation, CQ_UNKNOWN_ERROR if it throws.
template <class Operation>
ResultCode codeOf(const Operation& operation) {
    try {
        return operation();
    } catch (...) {
        return CQ_UNKNOWN_ERROR;
    }
}

}  // namespace

Instrument::Instrument(Kind kind) : driver_(makeDriver(kind)) {}

Instrument::~Instrument() {
    if (driver_->isConnected()) {
        close();
    }
}

ResultCode Instrument::open(const std::string& portName, const std::string& slaveAddress,
                            std::optional<Deadline> deadline) {
    const ResultCode code =
        codeOf([&] { return perform(&Driver::open, portName, slaveAddress, deadline); });
    if (code != CQ_NO_ERROR && deadline && deadline->isOver()) {
        return CQ_RECEIVING_TIMEOUT;
    }
    return code;
}

void Instrument::close() noexcept {
    const std::lock_guard closing(closeMutex_);
    try {
        driver_->close();
    } catch (...) {
        // Closing goes as far as it can: there is nobody to whom a failure would be of use.
    }
}

void Instrument::setMeasurementCallback(CqMeasurementResultReceived callback, void* user) {
    if (callback == nullptr) {
        driver_->setResultHandler({});
        return;
    }
    // An exception that the host's function throws ends the process here, where it can be found.
    driver_->setResultHandler(
        [callback, user](RECORD_TYPE type, const CqMeasurementRecord& record) noexcept {
            callback(type == RECORD_TYPE::standard, &record, user);
        });
}

ResultCode Instrument::getInstrumentStatus(CqInstrumentStatus& status) {
    return codeOf([&] { return perform(&Driver::getInstrumentStatus, status); });
}

}  // namespace ovk::cq

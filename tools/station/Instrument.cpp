#include "Instrument.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "ResultText.h"
#include "system/Terminal.h"

namespace station {
namespace {

constexpr std::uint32_t kWiredOpenTime = 2000;     // ms
constexpr std::uint32_t kWirelessOpenTime = 8000;  // ms

}  // namespace

std::unique_ptr<Instrument> Instrument::open(const Place& place, const std::string& port) {
    CqHandle handle = nullptr;
    const std::uint32_t code =
        place.isWireless
            ? cqOpenByBleDongleWithin(port.c_str(), place.slave.c_str(), kWirelessOpenTime, &handle)
            : cqOpenWithin(port.c_str(), kWiredOpenTime, &handle);
    if (code != CQ_NO_ERROR || handle == nullptr) {
        return nullptr;
    }
    std::unique_ptr<Instrument> instrument(new Instrument(handle, place.isWireless, port));
    CqDeviceInfo info{};
    if (cqGetDeviceInfo(handle, &info) != CQ_NO_ERROR) {
        return nullptr;
    }
    instrument->identity_ = cqtool::identityOf(info);
    return instrument;
}

Instrument::Instrument(CqHandle handle, bool isWireless, std::string port)
    : handle_(handle), isWireless_(isWireless), port_(std::move(port)) {
    std::error_code error;
    device_ = std::filesystem::canonical(port_, error).string();
    if (error) {
        device_ = port_;
    }
}

Instrument::~Instrument() {
    cqClose(handle_);  // the callback stays: measurements arrive until the goodbye is answered
}

void Instrument::listen(Pressed pressed) {
    pressed_ = std::move(pressed);
    const auto receive = [](bool isStandard, const CqMeasurementRecord* record, void* user) {
        static_cast<Instrument*>(user)->pressed_(isStandard, *record);
    };
    cqtool::check(cqSetMeasurementResultReceivedCallback(handle_, receive, this),
                  cqtool::Operation::listenForMeasurements);
}

void Instrument::calibrate(bool isWhite) {
    cqtool::check(isWhite ? cqCalibrateWhite(handle_) : cqCalibrateBlack(handle_),
                  isWhite ? cqtool::Operation::calibrateWhite : cqtool::Operation::calibrateBlack);
}

CqMeasurementRecord Instrument::measure(bool isStandard) {
    CqMeasurementRecord record{};
    cqtool::check(
        isStandard ? cqMeasureStandard(handle_, &record) : cqMeasureTrial(handle_, &record),
        isStandard ? cqtool::Operation::measureStandard : cqtool::Operation::measureTrial);
    return record;
}

bool Instrument::isThere() const {
    return cqtool::portExists(device_);
}

bool Instrument::isAnswering() {
    // Over the air a measurement that arrives at this moment would be taken for the reply.
    if (isWireless_) {
        return true;
    }
    std::uint32_t ignored = 0;
    const std::uint32_t code = cqGetTotalStandards(handle_, &ignored);
    // An instrument that is busy or slow is not gone.
    return code != CQ_NO_SESSION && code != CQ_DEVICE_IS_CLOSED && code != CQ_NOT_SUPPORTED;
}

}  // namespace station

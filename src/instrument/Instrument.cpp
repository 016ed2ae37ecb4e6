#include "instrument/Instrument.h"

#include <exception>

namespace ovk::cq {

Instrument::Instrument() : driver_(std::make_unique<Spectrophotometer>()) {}

Instrument::~Instrument() {
    if (driver_->isConnected()) {
        close();
    }
}

ResultCode Instrument::open(const std::string& portName) {
    return driver_->open(portName.empty() ? nullptr : &portName);
}

void Instrument::close() noexcept {
    try {
        driver_->close();
    } catch (const std::exception&) {
        // Closing goes as far as it can: there is nobody to whom a failure would be of use.
    }
}

bool Instrument::isReceivingThread() const {
    return driver_->isReceivingThread();
}

std::string Instrument::portName() const {
    return driver_->portName();
}

void Instrument::setMeasurementCallback(CqMeasurementResultReceived callback, void* user) {
    if (callback == nullptr) {
        driver_->setResultHandler({});
        return;
    }
    driver_->setResultHandler(
        [callback, user](RECORD_TYPE type, const CqMeasurementRecord& record) {
            callback(type == RECORD_TYPE::standard, &record, user);
        });
}

ResultCode Instrument::getDeviceInfo(CqDeviceInfo& info) {
    return driver_->getDeviceInfo(info);
}

ResultCode Instrument::getInstrumentStatus(CqInstrumentStatus& status) {
    try {
        return driver_->getInstrumentStatus(status);
    } catch (...) {
        return CQ_UNKNOWN_ERROR;
    }
}

ResultCode Instrument::measureStandard(CqMeasurementRecord& record) {
    return driver_->measure(RECORD_TYPE::standard, record);
}

ResultCode Instrument::measureTrial(CqMeasurementRecord& record) {
    return driver_->measure(RECORD_TYPE::trial, record);
}

ResultCode Instrument::calibrate(bool isWhite) {
    return driver_->calibrate(isWhite);
}

ResultCode Instrument::getTotalStandards(std::uint32_t& count) {
    return driver_->getTotalStandards(count);
}

ResultCode Instrument::getTotalSamples(std::uint32_t& count) {
    return driver_->getTotalSamples(count);
}

// A wired instrument has one count for the samples of all standards.
ResultCode Instrument::getSampleCount(std::uint32_t /*standardIndex*/, std::uint32_t& count) {
    return driver_->getTotalSamples(count);
}

ResultCode Instrument::uploadStandards(MeasurementRecords& records, std::uint32_t firstIndex,
                                       std::uint32_t& count) {
    return driver_->uploadStandards(records, firstIndex, count);
}

ResultCode Instrument::uploadSamples(MeasurementRecords& records, std::uint32_t standardIndex,
                                     std::uint32_t firstIndex, std::uint32_t& count) {
    return driver_->uploadSamples(records, standardIndex, firstIndex, count);
}

ResultCode Instrument::downloadStandards(std::span<const CqMeasurementRecord> records) {
    return driver_->downloadStandards(records);
}

ResultCode Instrument::getWhiteBoardParameter(CqWhiteBoardParameter& parameter) {
    return driver_->getWhiteBoardParameter(parameter);
}

ResultCode Instrument::setWhiteBoardParameter(const CqWhiteBoardParameter& parameter) {
    return driver_->setWhiteBoardParameter(parameter);
}

ResultCode Instrument::deleteStandard(std::uint32_t index) {
    return driver_->deleteStandard(index);
}

ResultCode Instrument::deleteSample(std::uint32_t standardIndex, std::uint32_t sampleIndex) {
    return driver_->deleteSample(standardIndex, sampleIndex);
}

ResultCode Instrument::getMeasurementParameter(std::uint8_t number, std::uint32_t& value) {
    return driver_->getMeasurementParameter(number, value);
}

ResultCode Instrument::setMeasurementParameter(std::uint8_t number, std::uint8_t value) {
    return driver_->setMeasurementParameter(number, value);
}

}  // namespace ovk::cq

#include "instrument/Instrument.h"

#include <exception>

#include "api/CommunicationException.h"
#include "ble/BleDongleDevice.h"
#include "ble/EhMc17AtInterface.h"

namespace ovk::cq {
namespace {

/// Runs an operation of the wireless driver, which throws where the wired one returns a code. What
/// is not a communication failure passes through.
template <class Operation>
ResultCode codeOf(const Operation& operation) {
    try {
        operation();
        return CQ_NO_ERROR;
    } catch (const CommunicationException& failure) {
        return failure.code();
    }
}

/// As codeOf(), for the operations that let nothing pass.
template <class Operation>
ResultCode codeOfAny(const Operation& operation) {
    try {
        return operation();
    } catch (const CommunicationException& failure) {
        return failure.code();
    } catch (...) {
        return CQ_UNKNOWN_ERROR;
    }
}

}  // namespace

Instrument::Instrument(Kind kind)
    : wired_(kind == Kind::wired ? std::make_unique<Spectrophotometer>() : nullptr),
      wireless_(kind == Kind::wireless ? std::make_unique<SpectrophotometerBle>() : nullptr) {}

Instrument::~Instrument() {
    if (wired_ ? wired_->isConnected() : wireless_->isAttached()) {
        close();
    }
}

ResultCode Instrument::open(const std::string& portName, const std::string& slaveAddress) {
    return codeOfAny([&] {
        return wired_ ? wired_->open(portName.empty() ? nullptr : &portName)
                      : openWireless(portName, slaveAddress);
    });
}

ResultCode Instrument::openWireless(const std::string& adapterPortName,
                                    const std::string& slaveAddress) {
    BleDongleDevice adapter;
    adapter.open(adapterPortName);
    adapter.connect(slaveAddress);
    slaveName_ = adapter.connectedSlave().name;
    slaveAddress_ = adapter.connectedSlave().address;
    // From here on the driver has the port.
    wireless_->attach(adapter.stopReceiving());
    return CQ_NO_ERROR;
}

void Instrument::close() noexcept {
    try {
        wired_ ? wired_->close() : closeWireless();
    } catch (const std::exception&) {
        // Closing goes as far as it can: there is nobody to whom a failure would be of use.
    }
}

void Instrument::closeWireless() {
    const auto port = wireless_->detach();
    if (port == nullptr) {
        return;
    }
    EhMc17AtInterface adapter(port);
    adapter.setExCode({});
    adapter.disconnect();
    port->close();
}

bool Instrument::isReceivingThread() const {
    return wired_ ? wired_->isReceivingThread() : wireless_->isReceivingThread();
}

std::string Instrument::portName() const {
    return wired_ ? wired_->portName() : wireless_->portName();
}

void Instrument::setMeasurementCallback(CqMeasurementResultReceived callback, void* user) {
    if (callback == nullptr) {
        wired_ ? wired_->setResultHandler({}) : wireless_->setResultHandler({});
        return;
    }
    const auto deliver = [callback, user](RECORD_TYPE type, const CqMeasurementRecord& record) {
        callback(type == RECORD_TYPE::standard, &record, user);
    };
    if (wired_) {
        wired_->setResultHandler(deliver);
    } else {
        wireless_->setResultHandler(
            [deliver](std::int32_t type, const CqMeasurementRecord& record) {
                deliver(static_cast<RECORD_TYPE>(type), record);
            });
    }
}

ResultCode Instrument::getDeviceInfo(CqDeviceInfo& info) {
    return wired_ ? wired_->getDeviceInfo(info) : codeOf([&] { wireless_->getDeviceInfo(info); });
}

ResultCode Instrument::getInstrumentStatus(CqInstrumentStatus& status) {
    return codeOfAny([&] {
        return wired_ ? wired_->getInstrumentStatus(status)
                      : codeOf([&] { wireless_->getInstrumentStatus(status); });
    });
}

ResultCode Instrument::measureStandard(CqMeasurementRecord& record) {
    return measure(RECORD_TYPE::standard, record);
}

ResultCode Instrument::measureTrial(CqMeasurementRecord& record) {
    return measure(RECORD_TYPE::trial, record);
}

ResultCode Instrument::measure(RECORD_TYPE type, CqMeasurementRecord& record) {
    return wired_ ? wired_->measure(type, record)
                  : codeOf([&] { record = wireless_->measure(type); });
}

ResultCode Instrument::calibrate(bool isWhite) {
    return wired_ ? wired_->calibrate(isWhite) : codeOf([&] { wireless_->calibrate(isWhite); });
}

ResultCode Instrument::getTotalStandards(std::uint32_t& count) {
    return wired_ ? wired_->getTotalStandards(count)
                  : codeOf([&] { count = wireless_->getTotalStandards(); });
}

ResultCode Instrument::getTotalSamples(std::uint32_t& count) {
    return getSampleCount(CQ_ALL_RECORDS, count);
}

// A wired instrument has one count for the samples of all standards.
ResultCode Instrument::getSampleCount(std::uint32_t standardIndex, std::uint32_t& count) {
    return wired_ ? wired_->getTotalSamples(count)
                  : codeOf([&] { count = wireless_->getSampleCount(standardIndex); });
}

ResultCode Instrument::uploadStandards(MeasurementRecords& records, std::uint32_t firstIndex,
                                       std::uint32_t& count) {
    return wired_ ? wired_->uploadStandards(records, firstIndex, count) : codeOf([&] {
        wireless_->uploadStandards(records, static_cast<std::int32_t>(firstIndex),
                                   static_cast<std::int32_t>(count));
        count = static_cast<std::uint32_t>(records.size());
    });
}

ResultCode Instrument::uploadSamples(MeasurementRecords& records, std::uint32_t standardIndex,
                                     std::uint32_t firstIndex, std::uint32_t& count) {
    return wired_ ? wired_->uploadSamples(records, standardIndex, firstIndex, count) : codeOf([&] {
        wireless_->uploadSamples(records, standardIndex, static_cast<std::int32_t>(firstIndex),
                                 static_cast<std::int32_t>(count));
        count = static_cast<std::uint32_t>(records.size());
    });
}

ResultCode Instrument::downloadStandards(std::span<const CqMeasurementRecord> records) {
    return wired_ ? wired_->downloadStandards(records)
                  : codeOf([&] { wireless_->downloadStandards(records); });
}

ResultCode Instrument::getWhiteBoardParameter(CqWhiteBoardParameter& parameter) {
    return wired_ ? wired_->getWhiteBoardParameter(parameter)
                  : codeOf([&] { wireless_->getWhiteBoardParameter(parameter); });
}

ResultCode Instrument::setWhiteBoardParameter(const CqWhiteBoardParameter& parameter) {
    return wired_ ? wired_->setWhiteBoardParameter(parameter)
                  : codeOf([&] { wireless_->setWhiteBoardParameter(parameter); });
}

ResultCode Instrument::deleteStandard(std::uint32_t index) {
    return wired_ ? wired_->deleteStandard(index)
                  : codeOf([&] { wireless_->deleteStandard(index); });
}

ResultCode Instrument::deleteSample(std::uint32_t standardIndex, std::uint32_t sampleIndex) {
    return wired_ ? wired_->deleteSample(standardIndex, sampleIndex)
                  : codeOf([&] { wireless_->deleteSample(standardIndex, sampleIndex); });
}

ResultCode Instrument::getMeasurementParameter(std::uint8_t number, std::uint32_t& value) {
    if (wireless_) {
        value = 0;
        return CQ_NOT_SUPPORTED;
    }
    return wired_->getMeasurementParameter(number, value);
}

ResultCode Instrument::setMeasurementParameter(std::uint8_t number, std::uint8_t value) {
    if (wireless_) {
        return CQ_NOT_SUPPORTED;
    }
    return wired_->setMeasurementParameter(number, value);
}

}  // namespace ovk::cq

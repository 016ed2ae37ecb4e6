// Exports that forward to an open instrument.

#include <algorithm>
#include <cstring>
#include <span>
#include <string>
#include <type_traits>

#include "api/InstrumentRegistry.h"
#include "cqapi/CQApi.h"

using ovk::cq::Instrument;
using ovk::cq::InstrumentRegistry;
using ovk::cq::MeasurementRecords;

namespace {

template <class T>
T& target(T* record) {
    return *record;
}
template <class T>
requires(!std::is_pointer_v<T>) T& target(T& value) {
    return value;
}

/// Calls the operation on the handle's instrument, which lives until the call has ended whatever
/// happens to the handle. Pointers are followed only once the instrument has been found.
template <class... Parameters, class... Arguments>
std::uint32_t forward(CqHandle handle, ovk::ResultCode (Instrument::*operation)(Parameters...),
                      Arguments... arguments) {
    const auto instrument = InstrumentRegistry::instance().find(handle);
    if (!instrument) {
        return CQ_NOT_SUPPORTED;
    }
    return (instrument.get()->*operation)(target(arguments)...);
}

void copyRecords(const MeasurementRecords& from, CqMeasurementRecord* to) {
    std::copy(from.begin(), from.end(), to);
}

}  // namespace

uint32_t cqGetPortName(CqHandle handle, char* buffer, int32_t size) {
    const auto instrument = InstrumentRegistry::instance().find(handle);
    if (!instrument) {
        return CQ_NOT_SUPPORTED;
    }
    constexpr std::size_t kZeroedFirst = 4;  // whatever the size: hosts rely on it
    std::memset(buffer, 0, kZeroedFirst);
    const std::string name = instrument->portName();
    const std::size_t room = size > 0 ? static_cast<std::size_t>(size) : 0;
    if (name.size() <= room) {
        std::copy(name.begin(), name.end(), buffer);
    } else {
        std::memset(buffer, 0, room);
    }
    return CQ_NO_ERROR;
}

uint32_t cqSetMeasurementResultReceivedCallback(CqHandle handle,
                                                CqMeasurementResultReceived callback, void* user) {
    const auto instrument = InstrumentRegistry::instance().find(handle);
    if (!instrument) {
        return CQ_NOT_SUPPORTED;
    }
    instrument->setMeasurementCallback(callback, user);
    return CQ_NO_ERROR;
}

uint32_t cqGetDeviceInfo(CqHandle handle, CqDeviceInfo* info) {
    return forward(handle, &Instrument::getDeviceInfo, info);
}

uint32_t cqGetInstrumentStatus(CqHandle handle, CqInstrumentStatus* status) {
    return forward(handle, &Instrument::getInstrumentStatus, status);
}

uint32_t cqCalibrateWhite(CqHandle handle) {
    return forward(handle, &Instrument::calibrate, true);
}

uint32_t cqCalibrateBlack(CqHandle handle) {
    return forward(handle, &Instrument::calibrate, false);
}

uint32_t cqMeasureStandard(CqHandle handle, CqMeasurementRecord* record) {
    return forward(handle, &Instrument::measureStandard, record);
}

uint32_t cqMeasureTrial(CqHandle handle, CqMeasurementRecord* record) {
    return forward(handle, &Instrument::measureTrial, record);
}

uint32_t cqGetTotalStandards(CqHandle handle, uint32_t* count) {
    return forward(handle, &Instrument::getTotalStandards, count);
}

uint32_t cqGetTotalSamples(CqHandle handle, uint32_t* count) {
    return forward(handle, &Instrument::getTotalSamples, count);
}

uint32_t cqGetSampleCount(CqHandle handle, uint32_t standardIndex, uint32_t* count) {
    return forward(handle, &Instrument::getSampleCount, standardIndex, count);
}

uint32_t cqUploadStandards(CqHandle handle, CqMeasurementRecord* records, uint32_t firstIndex,
                           uint32_t count) {
    MeasurementRecords received;
    const uint32_t code =
        forward(handle, &Instrument::uploadStandards, &received, firstIndex, &count);
    if (code == CQ_NO_ERROR) {
        copyRecords(received, records);
    }
    return code;
}

uint32_t cqUploadSamples(CqHandle handle, CqMeasurementRecord* records, uint32_t standardIndex,
                         uint32_t firstIndex, uint32_t count) {
    MeasurementRecords received;
    const uint32_t code =
        forward(handle, &Instrument::uploadSamples, &received, standardIndex, firstIndex, &count);
    if (code == CQ_NO_ERROR) {
        copyRecords(received, records);
        std::fill(records + received.size(), records + count, CqMeasurementRecord{});
    }
    return code;
}

uint32_t cqDownloadStandards(CqHandle handle, const CqMeasurementRecord* records, uint32_t count) {
    return forward(handle, &Instrument::downloadStandards, std::span(records, count));
}

uint32_t cqGetWhiteBoardParameter(CqHandle handle, CqWhiteBoardParameter* parameter) {
    return forward(handle, &Instrument::getWhiteBoardParameter, parameter);
}

uint32_t cqSetWhiteBoardParameter(CqHandle handle, const CqWhiteBoardParameter* parameter) {
    return forward(handle, &Instrument::setWhiteBoardParameter, parameter);
}

uint32_t cqDeleteStandard(CqHandle handle, uint32_t standardIndex) {
    return forward(handle, &Instrument::deleteStandard, standardIndex);
}

uint32_t cqDeleteAllRecords(CqHandle handle) {
    return forward(handle, &Instrument::deleteStandard, CQ_ALL_RECORDS);
}

uint32_t cqDeleteSample(CqHandle handle, uint32_t standardIndex, uint32_t sampleIndex) {
    return forward(handle, &Instrument::deleteSample, standardIndex, sampleIndex);
}

uint32_t cqGetMeasurementParameter(CqHandle handle, uint8_t number, uint32_t* value) {
    return forward(handle, &Instrument::getMeasurementParameter, number, value);
}

uint32_t cqSetMeasurementParameter(CqHandle handle, uint8_t number, uint8_t value) {
    return forward(handle, &Instrument::setMeasurementParameter, number, value);
}

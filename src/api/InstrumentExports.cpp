// Exports that forward to an open instrument.

#include <algorithm>
#include <cstring>
#include <span>
#include <string>
#include <type_traits>

#include "api/InstrumentRegistry.h"
#include "cqapi/CQApi.h"

using ovk::cq::Driver;
using ovk::cq::InstrumentRegistry;
using ovk::cq::MeasurementRecords;
using ovk::cq::RECORD_TYPE;

namespace {

template <class T>
T& target(T* record) {
    return *record;
}
template <class T>
requires(!std::is_pointer_v<T>) T& target(T& value) {
    return value;
}

/// Performs the operation of the handle's instrument, which lives until the call has ended whatever
/// happens to the handle. Pointers are followed only once the instrument has been found.
template <class... Parameters, class... Arguments>
std::uint32_t forward(CqHandle handle, ovk::ResultCode (Driver::*operation)(Parameters...),
                      Arguments... arguments) {
    const auto instrument = InstrumentRegistry::instance().find(handle);
    if (!instrument) {
        return CQ_NOT_SUPPORTED;
    }
    return instrument->perform(operation, target(arguments)...);
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
    return forward(handle, &Driver::getDeviceInfo, info);
}

uint32_t cqGetInstrumentStatus(CqHandle handle, CqInstrumentStatus* status) {
    const auto instrument = InstrumentRegistry::instance().find(handle);
    if (!instrument) {
        return CQ_NOT_SUPPORTED;
    }
    return instrument->getInstrumentStatus(*status);
}

uint32_t cqCalibrateWhite(CqHandle handle) {
    return forward(handle, &Driver::calibrate, true);
}

uint32_t cqCalibrateBlack(CqHandle handle) {
    return forward(handle, &Driver::calibrate, false);
}

uint32_t cqMeasureStandard(CqHandle handle, CqMeasurementRecord* record) {
    return forward(handle, &Driver::measure, RECORD_TYPE::standard, record);
}

uint32_t cqMeasureTrial(CqHandle handle, CqMeasurementRecord* record) {
    return forward(handle, &Driver::measure, RECORD_TYPE::trial, record);
}

uint32_t cqGetTotalStandards(CqHandle handle, uint32_t* count) {
    return forward(handle, &Driver::getTotalStandards, count);
}

uint32_t cqGetTotalSamples(CqHandle handle, uint32_t* count) {
    return forward(handle, &Driver::getSampleCount, CQ_ALL_RECORDS, count);
}

uint32_t cqGetSampleCount(CqHandle handle, uint32_t standardIndex, uint32_t* count) {
    return forward(handle, &Driver::getSampleCount, standardIndex, count);
}

uint32_t cqUploadStandards(CqHandle handle, CqMeasurementRecord* records, uint32_t firstIndex,
                           uint32_t count) {
    MeasurementRecords received;
    const uint32_t code = forward(handle, &Driver::uploadStandards, &received, firstIndex, count);
    if (code == CQ_NO_ERROR) {
        copyRecords(received, records);
    }
    return code;
}

uint32_t cqUploadSamples(CqHandle handle, CqMeasurementRecord* records, uint32_t standardIndex,
                         uint32_t firstIndex, uint32_t count) {
    MeasurementRecords received;
    const uint32_t code =
        forward(handle, &Driver::uploadSamples, &received, standardIndex, firstIndex, count);
    if (code == CQ_NO_ERROR) {
        copyRecords(received, records);
        // With a count of all it is not known here how many places the host has.
        const std::size_t wanted = count <= INT32_MAX ? count : 0;
        std::fill(records + received.size(), records + std::max(received.size(), wanted),
                  CqMeasurementRecord{});
    }
    return code;
}

uint32_t cqDownloadStandards(CqHandle handle, const CqMeasurementRecord* records, uint32_t count) {
    return forward(handle, &Driver::downloadStandards, std::span(records, count));
}

uint32_t cqGetWhiteBoardParameter(CqHandle handle, CqWhiteBoardParameter* parameter) {
    return forward(handle, &Driver::getWhiteBoardParameter, parameter);
}

uint32_t cqSetWhiteBoardParameter(CqHandle handle, const CqWhiteBoardParameter* parameter) {
    return forward(handle, &Driver::setWhiteBoardParameter, parameter);
}

uint32_t cqDeleteStandard(CqHandle handle, uint32_t standardIndex) {
    return forward(handle, &Driver::deleteStandard, standardIndex);
}

uint32_t cqDeleteAllRecords(CqHandle handle) {
    return forward(handle, &Driver::deleteStandard, CQ_ALL_RECORDS);
}

uint32_t cqDeleteSample(CqHandle handle, uint32_t standardIndex, uint32_t sampleIndex) {
    return forward(handle, &Driver::deleteSample, standardIndex, sampleIndex);
}

uint32_t cqGetMeasurementParameter(CqHandle handle, uint8_t number, uint32_t* value) {
    return forward(handle, &Driver::getMeasurementParameter, number, value);
}

uint32_t cqSetMeasurementParameter(CqHandle handle, uint8_t number, uint8_t value) {
    return forward(handle, &Driver::setMeasurementParameter, number, value);
}

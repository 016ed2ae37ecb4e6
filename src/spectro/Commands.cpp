// The wired instrument's commands, over the request engine of Spectrophotometer.cpp.

#include <algorithm>
#include <array>
#include <cstring>

#include "api/DebugLog.h"
#include "api/LittleEndian.h"
#include "spectro/Spectrophotometer.h"

namespace ovk::cq {
namespace {

using Bytes = Spectrophotometer::Bytes;
using BytesView = Spectrophotometer::BytesView;

constexpr BytesView kNoData{};
constexpr std::uint32_t kDeleteMark = 0x80000000;

template <class Record>
BytesView bytesOf(std::span<const Record> records) {
    return {reinterpret_cast<const std::uint8_t*>(records.data()), records.size_bytes()};
}

/// Values as a payload carries them: 32 bits each.
template <class... Values>
auto payload(Values... values) {
    std::array<std::uint8_t, sizeof...(Values) * sizeof(std::uint32_t)> bytes{};
    std::size_t at = 0;
    ((storeLittleEndian<std::uint32_t>(bytes.data() + at, values), at += sizeof(std::uint32_t)),
     ...);
    return bytes;
}

bool hasSize(const Bytes& reply, std::size_t expected) {
    if (reply.size() == expected) {
        return true;
    }
    debuglog::write("expect size: %d, received: %d", static_cast<int>(expected),
                    static_cast<int>(reply.size()));
    return false;
}

}  // namespace

template <class Record>
ResultCode Spectrophotometer::requestRecord(const Command& command, BytesView data,
                                            Record& record) {
    Bytes reply;
    const ResultCode code = request(command, data, sizeof(record), reply);
    if (code != CQ_NO_ERROR) {
        return code;
    }
    if (!hasSize(reply, sizeof(record))) {
        return CQ_INVALID_PACKET;
    }
    std::memcpy(&record, reply.data(), sizeof(record));
    return CQ_NO_ERROR;
}

ResultCode Spectrophotometer::requestU32(const Command& command, std::uint32_t& value) {
    std::array<std::uint8_t, sizeof(value)> bytes;
    const ResultCode code = requestRecord(command, kNoData, bytes);
    if (code == CQ_NO_ERROR) {
        value = loadLittleEndian<std::uint32_t>(bytes.data());
    }
    return code;
}

ResultCode Spectrophotometer::requestRecords(const Command& command, BytesView data,
                                             std::uint32_t maxCount, MeasurementRecords& records) {
    constexpr std::uint64_t kRecordSize = sizeof(CqMeasurementRecord);
    Bytes reply;
    const ResultCode code = request(command, data, maxCount * kRecordSize, reply);
    if (code != CQ_NO_ERROR) {
        return code;
    }
    const std::size_t count = reply.size() / kRecordSize;
    if (count > maxCount || reply.size() % kRecordSize != 0) {
        hasSize(reply, static_cast<std::size_t>(maxCount * kRecordSize));
        return CQ_INVALID_PACKET;
    }
    records.resize(count);
    if (count > 0) {
        std::memcpy(records.data(), reply.data(), reply.size());
    }
    return CQ_NO_ERROR;
}

/// Replaces CQ_ALL_RECORDS by what the instrument holds from the first index on.
ResultCode Spectrophotometer::resolveCount(const Command& total, std::uint32_t firstIndex,
                                           std::uint32_t& count) {
    if (count != CQ_ALL_RECORDS) {
        return CQ_NO_ERROR;
    }
    std::uint32_t stored = 0;
    const ResultCode code = requestU32(total, stored);
    if (code == CQ_NO_ERROR) {
        count = stored - std::min(stored, firstIndex);
    }
    return code;
}

ResultCode Spectrophotometer::getDeviceInfo(CqDeviceInfo& info) {
    return requestRecord(command::kDeviceInfo, kNoData, info);
}

ResultCode Spectrophotometer::getInstrumentStatus(CqInstrumentStatus& status) {
    return requestRecord(command::kInstrumentStatus, kNoData, status);
}

ResultCode Spectrophotometer::measure(RECORD_TYPE type, CqMeasurementRecord& record) {
    const bool isStandard = type == RECORD_TYPE::standard;
    return requestRecord(isStandard ? command::kMeasureStandard : command::kMeasureTrial, kNoData,
                         record);
}

ResultCode Spectrophotometer::calibrate(bool isWhite) {
    const std::array<std::uint8_t, 1> target{isWhite ? std::uint8_t{1} : std::uint8_t{0}};
    return send(command::kCalibrate, target);
}

ResultCode Spectrophotometer::getTotalStandards(std::uint32_t& count) {
    return requestU32(command::kTotalStandards, count);
}

ResultCode Spectrophotometer::getSampleCount(std::uint32_t /*standardIndex*/,
                                             std::uint32_t& count) {
    return requestU32(command::kTotalSamples, count);
}

ResultCode Spectrophotometer::uploadStandards(MeasurementRecords& records, std::uint32_t firstIndex,
                                              std::uint32_t count) {
    const ResultCode code = resolveCount(command::kTotalStandards, firstIndex, count);
    if (code != CQ_NO_ERROR) {
        return code;
    }
    Command command = command::kUploadStandards;
    command.timeout += std::int64_t{count} * command::kUploadTimePerRecord;
    return requestRecords(command, payload(firstIndex, count), count, records);
}

ResultCode Spectrophotometer::uploadSamples(MeasurementRecords& records,
                                            std::uint32_t standardIndex, std::uint32_t firstIndex,
                                            std::uint32_t count) {
    const ResultCode code = resolveCount(command::kTotalSamples, firstIndex, count);
    if (code != CQ_NO_ERROR) {
        return code;
    }
    return requestRecords(command::kUploadSamples, payload(firstIndex, count, standardIndex), count,
                          records);
}

ResultCode Spectrophotometer::downloadStandards(std::span<const CqMeasurementRecord> records) {
    CqDeviceInfo info;
    ResultCode code = getDeviceInfo(info);
    if (code != CQ_NO_ERROR) {
        return code;
    }
    std::uint32_t stored = 0;
    code = getTotalStandards(stored);
    if (code != CQ_NO_ERROR) {
        return code;
    }
    const auto capacity = static_cast<std::uint32_t>(info.trailingValue);
    if (std::uint64_t{stored} + records.size() > capacity) {
        return CQ_NO_ENOUGH_STORAGE;
    }
    return send(command::kDownloadStandards, bytesOf(records));
}

ResultCode Spectrophotometer::getWhiteBoardParameter(CqWhiteBoardParameter& parameter) {
    return requestRecord(command::kGetWhiteBoard, kNoData, parameter);
}

ResultCode Spectrophotometer::setWhiteBoardParameter(const CqWhiteBoardParameter& parameter) {
    return send(command::kSetWhiteBoard, bytesOf(std::span(&parameter, 1)));
}

ResultCode Spectrophotometer::deleteStandard(std::uint32_t index) {
    const bool isAll = index == CQ_ALL_RECORDS;
    return send(isAll ? command::kDeleteAllRecords : command::kDeleteStandard,
                payload(index | kDeleteMark));
}

ResultCode Spectrophotometer::deleteSample(std::uint32_t standardIndex, std::uint32_t sampleIndex) {
    return send(command::kDeleteSample, payload(standardIndex, sampleIndex));
}

ResultCode Spectrophotometer::getMeasurementParameter(std::uint8_t number, std::uint32_t& value) {
    std::array<std::uint8_t, 1> byte{};
    const ResultCode code =
        requestRecord(command::kGetMeasurementParameter, std::array<std::uint8_t, 1>{number}, byte);
    if (code == CQ_NO_ERROR) {
        value = byte[0];
    }
    return code;
}

ResultCode Spectrophotometer::setMeasurementParameter(std::uint8_t number, std::uint8_t value) {
    return send(command::kSetMeasurementParameter, std::array<std::uint8_t, 2>{number, value});
}

}  // namespace ovk::cq

#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

#include "cqapi/CQApi.h"

namespace cqtest {

/// A record whose bytes tell which one it is.
inline CqMeasurementRecord numberedRecord(std::uint32_t number) {
    CqMeasurementRecord record;
    for (std::size_t i = 0; i < sizeof(record.bytes); ++i) {
        record.bytes[i] = static_cast<std::uint8_t>(number * 7 + i);
    }
    std::memcpy(record.bytes, &number, sizeof(number));
    return record;
}

inline std::vector<CqMeasurementRecord> numberedRecords(std::uint32_t count) {
    std::vector<CqMeasurementRecord> records;
    for (std::uint32_t number = 0; number < count; ++number) {
        records.push_back(numberedRecord(number));
    }
    return records;
}

}  // namespace cqtest

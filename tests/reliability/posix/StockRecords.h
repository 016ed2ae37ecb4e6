#pragma once

#include <vector>

#include "endtoend/NumberedRecords.h"

namespace cqtest {

/// What an instrument holds before anything goes wrong.
inline std::vector<CqMeasurementRecord> stockedRecords() {
    return numberedRecords(16);
}

/// What a host adds to that, again and again.
inline std::vector<CqMeasurementRecord> addedRecords() {
    std::vector<CqMeasurementRecord> records;
    for (std::uint32_t number = 1000; number < 1004; ++number) {
        records.push_back(numberedRecord(number));
    }
    return records;
}

}  // namespace cqtest

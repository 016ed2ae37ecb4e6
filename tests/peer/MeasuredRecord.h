#pragma once

#include <cstdint>

#include "cqapi/CQApi.h"

namespace cqtest {

enum class RecordKind : std::uint8_t { standard = 0, trial = 1 };

/// True for a whole record of a virtual instrument, told by its mark and its checksum, that has
/// this kind and this running number.
bool isMeasuredRecord(const CqMeasurementRecord& record, RecordKind kind, std::uint32_t number);

/// The running number of a record that is whole.
std::uint32_t runningNumber(const CqMeasurementRecord& record);

}  // namespace cqtest

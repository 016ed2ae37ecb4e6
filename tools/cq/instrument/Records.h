#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "cqapi/CQApi.h"

namespace cqtool {

/// The texts of the device information under their fields' names, in the record's order, safe to
/// print.
std::vector<std::pair<std::string, std::string>> textsOf(const CqDeviceInfo& info);

/// All texts in one line, or a remark that there are none.
std::string instrumentName(const CqDeviceInfo& info);

/// How many standards the instrument can store.
std::uint32_t standardCapacity(const CqDeviceInfo& info);

/// The single-byte items of the status by their numbers, in ascending order.
std::vector<std::pair<int, unsigned>> itemsOf(const CqInstrumentStatus& status);

}  // namespace cqtool

#pragma once

#include <cstdint>
#include <string>

namespace cqtool {

/// The strength of a received signal as four bars of rising height, such as "▂▄▆·"; a dot stands
/// for a missing bar.
/// \param rssi in dBm.
std::string signalBars(std::int32_t rssi);

}  // namespace cqtool

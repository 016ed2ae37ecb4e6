#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// \file
/// Finds serial ports by what is plugged in. Every function may be called from any thread.

namespace ovk {

/// Returned by the find functions when the system cannot list its ports.
inline constexpr std::uint32_t kDiscoveryFailed = 0xFFFFFFFF;

/// Finds the ports of wired instruments (USB vendor 0x0483, product 0x5740), such as "COM7" or
/// "/dev/ttyACM0", in the system's order. Clears `names` first; returns how many it then holds, or
/// kDiscoveryFailed.
std::uint32_t findInstrumentPorts(std::vector<std::string>& names);

/// Finds the numbers of the ports of CH340 bridges, through which the adapter is connected, in the
/// system's order. Clears `numbers` first; returns how many it then holds, or kDiscoveryFailed.
std::uint32_t findCh340Ports(std::vector<std::uint32_t>& numbers);

/// The name to open a port found by findCh340Ports() with.
std::string ch340PortName(std::uint32_t number);

}  // namespace ovk

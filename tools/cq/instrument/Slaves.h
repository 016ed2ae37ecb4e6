#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace cqtool {

/// A wireless instrument, or another peripheral, that the adapter has heard.
struct Slave {
    std::string name;       ///< safe to print; empty: too long for the library to pass on
    std::string address;    ///< hexadecimal digits; empty: too long, too
    std::int32_t rssi = 0;  ///< strength of its signal in dBm
};

/// Scans with the adapter on this port, the strongest signal first. Takes 2 to 5 s, which Ctrl-C
/// does not shorten. Throws Failure.
std::vector<Slave> scanSlaves(const std::string& adapterPort);

}  // namespace cqtool

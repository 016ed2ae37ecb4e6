#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ovk {

/// A wireless peripheral that the adapter's scan has heard.
struct SlaveDevice {
    std::string name;       ///< As advertised; may contain spaces and commas.
    std::string address;    ///< Hexadecimal digits without separators, as the module prints them.
    std::int32_t rssi = 0;  ///< Received signal strength in dBm, negative.
};

/// Reads a scan-result line, such as "SR=3:My Meter 2,C4BE84A1B2C3,-67": an index, a name of
/// anything but control white space, an address, and a negative signal strength, after which more
/// text may follow. Of several ways to read it, that with the longest name holds.
///
/// Nothing if the line is of another form or its signal strength fits no 32-bit integer. Takes time
/// in proportion to the line, whatever a peripheral calls itself.
std::optional<SlaveDevice> parseScanLine(std::string_view line);

}  // namespace ovk

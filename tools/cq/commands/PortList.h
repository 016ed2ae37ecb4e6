#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cqapi/CQApi.h"
#include "instrument/Slaves.h"
#include "system/Ports.h"
#include "terminal/Palette.h"
#include "text/JsonObject.h"

namespace cqtool {

/// A port and the answers to what was asked.
struct ListedPort {
    PortInfo port;
    std::optional<CqDeviceInfo> info;          ///< of the instrument that answered
    std::optional<std::vector<Slave>> slaves;  ///< that the adapter hears
    std::string problem;                       ///< why it could not be asked
};

/// A table of the ports, below each what was asked.
std::vector<std::string> portLines(const std::vector<ListedPort>& ports, const Palette& palette);

/// An array of {"port", "kind", "usb", "description", "driver", "accessible", "heldBy"}, with
/// "instrument", "slaves" or "problem" for the ports that were asked.
JsonList portsJson(const std::vector<ListedPort>& ports);

}  // namespace cqtool

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "system/Machine.h"
#include "system/Ports.h"

namespace cqtool {

/// What a look at one thing has shown.
struct Finding {
    enum class Level {
        works,
        note,    ///< nothing to mend, but worth knowing
        problem  ///< something does not work
    };

    Level level;
    std::string subject;  ///< one word or two, stable: "library", "adapter"
    std::string text;
    std::string advice;  ///< of a problem, and of some notes
};

/// "ok", "note" or "problem".
const char* nameOf(Finding::Level level);

/// What the machine tells about instruments and adapters at its ports.
struct PortFacts {
    std::vector<PortInfo> ports;
    std::vector<UsbIdentity> usb;
    PortPermission permission;
    PortDriver instrumentDriver;
    PortDriver adapterDriver;
};

PortFacts portFacts();

std::vector<Finding> portFindings(const PortFacts& facts);

/// The library computes colours that are known.
Finding colorFinding();

/// The debug log can be written. An existing log is left as it is.
Finding logFinding(const std::filesystem::path& library);

}  // namespace cqtool

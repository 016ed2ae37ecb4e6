#pragma once

#include <optional>
#include <string>
#include <vector>

#include "system/Machine.h"
#include "system/Ports.h"

namespace cqtool {

/// The result of one check.
struct Diagnosis {
    enum class Level {
        works,
        note,    ///< needs no action, but is worth knowing
        problem  ///< something does not work
    };

    Level level;
    std::string subject;  ///< one word or two, stable: "library", "adapter"
    std::string text;
    std::string advice;  ///< of a problem, and of some notes
};

/// "ok", "note" or "problem".
const char* nameOf(Diagnosis::Level level);

/// What the machine knows about instruments and adapters on its ports.
struct PortFacts {
    std::vector<PortInfo> ports;
    std::vector<UsbIdentity> usb;
    PortPermission permission;
    PortDriver instrumentDriver;
    PortDriver adapterDriver;
};

PortFacts portFacts();

std::vector<Diagnosis> portFindings(const PortFacts& facts);

/// Checks that the library computes known colours correctly.
Diagnosis colorFinding();

/// Checks that the debug log can be written. An existing log is left as it is.
Diagnosis logFinding(const std::filesystem::path& library);

}  // namespace cqtool

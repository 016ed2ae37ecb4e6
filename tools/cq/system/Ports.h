#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "system/Terminal.h"

namespace cqtool {

/// The kind of device behind a serial port, by its USB identity.
enum class PortKind {
    instrument,  ///< a wired instrument
    adapter,     ///< the bridge that an adapter for wireless instruments is connected through
    other
};

/// The name of a kind in text and JSON: "instrument", "adapter", "other".
std::string_view nameOf(PortKind kind);

struct UsbIdentity {
    std::uint16_t vendor = 0;
    std::uint16_t product = 0;

    bool operator==(const UsbIdentity&) const = default;
};

/// As in "0483:5740".
std::string textOf(const UsbIdentity& identity);

/// A serial port of this machine. Texts are safe to print.
struct PortInfo {
    std::string name;  ///< to give to --port or --adapter: "COM5", "/dev/ttyACM0"
    PortKind kind = PortKind::other;
    std::optional<UsbIdentity> usb;  ///< nothing if the port is not on USB
    std::string description;         ///< the device's own name; may be empty
    std::string driver;              ///< the system's driver; empty if unknown
    bool isAccessible = true;        ///< this user may open it
    std::string accessProblem;       ///< why not; empty if it is accessible
    /// The program that has it open, "minicom (process 1234)", or "another program" if it cannot be
    /// named; empty if there is none or this is unknown.
    std::string heldBy;
};

/// The ports that the system knows, without opening one: instruments, then adapters, then others,
/// each in the order of their names. Throws Failure when the system cannot list them.
std::vector<PortInfo> listPorts();

/// Information about one port, which may be of any kind, such as a pseudo-terminal or a link to a
/// port. Throws Failure when the system knows no such port.
PortInfo describePort(const std::string& name);

/// Why this port cannot be used now: "held by minicom (process 1234)"; empty if nothing is known.
std::string obstacleOf(const PortInfo& port);

/// Who has the port open, as in PortInfo, but for a virtual instrument, whose own it is; empty also
/// for a port that the system does not know.
std::string holderOf(const std::string& port);

/// adviceForPort() for an open that has failed: names who holds the port.
std::string adviceForFailedOpen(const std::string& port, PortUse use);

}  // namespace cqtool

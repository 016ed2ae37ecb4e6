#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "system/Ports.h"

namespace cqtool {

/// The file of the library that this program uses, by the name under which it was loaded; empty if
/// unknown.
std::filesystem::path libraryFile();

/// The USB devices that are plugged in, whether or not they have a serial port.
std::vector<UsbIdentity> usbDevices();

/// Whether this user may open serial ports at all.
struct PortPermission {
    bool isGranted = true;
    std::string text;    ///< by what right, or what is missing
    std::string advice;  ///< if it is not granted
};

PortPermission portPermission();

/// The driver that provides the serial port of such a USB device.
struct PortDriver {
    std::string name;
    std::optional<bool> isThere;  ///< nothing: unknown
    std::string advice;           ///< how to get it
};

/// \param kind instrument or adapter.
PortDriver driverFor(PortKind kind);

}  // namespace cqtool

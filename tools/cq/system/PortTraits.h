#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "system/Ports.h"

/// \file
/// What the systems' port lists have in common.

namespace cqtool {

/// The kind of a port by its USB identity and product name. An adapter is a CH340 bridge.
PortKind kindOf(const std::optional<UsbIdentity>& usb, std::string_view description);

/// Instruments, adapters, others; each by name, COM9 before COM10.
void sortPorts(std::vector<PortInfo>& ports);

}  // namespace cqtool

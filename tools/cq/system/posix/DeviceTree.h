#pragma once

#include <filesystem>

namespace cqtool {

/// Where the system shows its devices and processes.
struct DeviceTree {
    std::filesystem::path sys = "/sys";
    std::filesystem::path dev = "/dev";
    std::filesystem::path proc = "/proc";
};

/// The only source of the port list's paths. A test points it at a simulated tree before it asks
/// for ports.
DeviceTree& deviceTree();

}  // namespace cqtool

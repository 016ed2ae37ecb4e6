#pragma once

#include <filesystem>

namespace cqtool {

/// Where the system shows its devices and processes.
struct DeviceTree {
    std::filesystem::path sys = "/sys";
    std::filesystem::path dev = "/dev";
    std::filesystem::path proc = "/proc";
};

/// The one place that the port list takes its paths from. A test points it at a made-up tree before
/// it asks for ports.
DeviceTree& deviceTree();

}  // namespace cqtool

#pragma once

#include <filesystem>

namespace ovk {

/// Where the system shows its devices.
struct SystemTree {
    std::filesystem::path sys = "/sys";
    std::filesystem::path dev = "/dev";
};

/// The one place that port discovery takes its paths from. A test points it at a made-up tree
/// before any discovery runs.
SystemTree& systemTree();

}  // namespace ovk

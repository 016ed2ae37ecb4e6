#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace cqtool {

/// A browser that can print pages without a window.
struct Browser {
    std::filesystem::path program;
    std::vector<std::string> arguments;  ///< that it needs on this system, for this user
};

/// The first that is there: Chromium, Chrome or Edge; nothing if there is none.
std::optional<Browser> findBrowser();

}  // namespace cqtool

#include "system/Browser.h"

#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace cqtool {
namespace {

/// A program on the search path; empty if there is none of this name.
std::filesystem::path onSearchPath(const char* name) {
    const char* variable = std::getenv("PATH");
    std::string_view rest = variable == nullptr ? "" : variable;
    while (!rest.empty()) {
        const std::size_t end = rest.find(':');
        const std::filesystem::path folder = rest.substr(0, end);
        // A relative folder would depend on where the program happens to be run.
        if (folder.is_absolute() && ::access((folder / name).c_str(), X_OK) == 0) {
            return folder / name;
        }
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    }
    return {};
}

}  // namespace

std::optional<Browser> findBrowser() {
    for (const char* name : {"chromium", "chromium-browser", "google-chrome",
                             "google-chrome-stable", "microsoft-edge"}) {
        const auto program = onSearchPath(name);
        if (!program.empty()) {
            // Its sandbox refuses to be started by the superuser.
            return Browser{program, ::geteuid() == 0 ? std::vector<std::string>{"--no-sandbox"}
                                                     : std::vector<std::string>{}};
        }
    }
    return std::nullopt;
}

}  // namespace cqtool

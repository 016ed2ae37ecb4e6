#include "Dll.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

#include "Results.h"

namespace cqbench {
namespace {

constexpr double kMaxMegabytes = 1.5;

/// Comes with every Windows that is still in use.
bool isSystemDll(std::string name) {
    static constexpr std::array<std::string_view, 6> kNames{
        "advapi32.dll", "kernel32.dll", "msvcrt.dll", "setupapi.dll", "shlwapi.dll", "user32.dll"};
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return std::find(kNames.begin(), kNames.end(), name) != kNames.end();
}

}  // namespace

void addDllResults(const DllFacts& dll) {
    results().push_back({.what = "CQApi.dll, stripped",
                         .unit = "MB",
                         .figure = static_cast<double>(dll.size) / 1e6,
                         .peerName = "limit",
                         .peer = kMaxMegabytes,
                         .bound = Bound::atMost,
                         .goal = 1});
    const auto systemDlls = std::count_if(dll.imports.begin(), dll.imports.end(), isSystemDll);
    results().push_back({.what = "system DLLs that CQApi.dll loads",
                         .unit = "DLLs",
                         .figure = static_cast<double>(systemDlls),
                         .peerName = "all that it loads",
                         .peer = static_cast<double>(dll.imports.size()),
                         .bound = Bound::atLeast,
                         .goal = 1});
}

}  // namespace cqbench

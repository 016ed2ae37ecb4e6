#include "api/Module.h"

#include <dlfcn.h>
#include <pthread.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <filesystem>
#include <string>

namespace {

// The loader reports the path as it was asked for, so a relative one is resolved before the host
// can change its working directory. The file name stays as loaded: links are not followed.
std::array<char, PATH_MAX> findModulePath() {
    std::array<char, PATH_MAX> path{};
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&ovk::module::path), &info) == 0 ||
        info.dli_fname == nullptr) {
        return path;
    }
    std::error_code error;
    const auto absolute = std::filesystem::absolute(info.dli_fname, error);
    const std::string found = error ? std::string(info.dli_fname) : absolute.string();
    std::copy_n(found.begin(), std::min(found.size(), path.size() - 1), path.begin());
    return path;
}

// No string: it is read until the process's very end.
const std::array<char, PATH_MAX> modulePath = findModulePath();

}  // namespace

namespace ovk::module {

std::string path() {
    return modulePath.data();
}

void writeToDebugger(const char* text) noexcept {
    std::fputs(text, stderr);
}

bool isProcessEnding() noexcept {
    return false;
}

void callInForkedChild(void (*function)()) {
    pthread_atfork(nullptr, nullptr, function);
}

void raiseInvalidParameter() {}

}  // namespace ovk::module

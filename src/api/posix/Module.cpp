#include "api/Module.h"

#include <dlfcn.h>

#include <cstdio>
#include <filesystem>

namespace {

// The loader reports the path as it was asked for, so a relative one is resolved before the host
// can change its working directory. The file name stays as loaded: links are not followed.
std::string findModulePath() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&ovk::module::path), &info) == 0 ||
        info.dli_fname == nullptr) {
        return {};
    }
    std::error_code error;
    const auto absolute = std::filesystem::absolute(info.dli_fname, error);
    return error ? std::string(info.dli_fname) : absolute.string();
}

const std::string modulePath = findModulePath();

}  // namespace

namespace ovk::module {

std::string path() {
    return modulePath;
}

void writeToDebugger(const char* text) noexcept {
    std::fputs(text, stderr);
}

bool isProcessEnding() noexcept {
    return false;
}

void raiseInvalidParameter() {}

}  // namespace ovk::module

#include "system/OutputFile.h"

#include <windows.h>

#include <algorithm>
#include <limits>
#include <system_error>

namespace cqtool {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void failWriting() {
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
}

/// Writes to what it opens, and leaves it closed.
void writeOpened(const fs::path& file, DWORD disposition, std::string_view content) {
    const HANDLE output = CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, disposition,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (output == INVALID_HANDLE_VALUE) {
        failWriting();
    }
    DWORD error = ERROR_SUCCESS;
    while (!content.empty() && error == ERROR_SUCCESS) {
        const auto size = static_cast<DWORD>(
            std::min<std::size_t>(content.size(), std::numeric_limits<int>::max()));
        DWORD count = 0;
        if (WriteFile(output, content.data(), size, &count, nullptr) == FALSE) {
            error = GetLastError();
        }
        content.remove_prefix(count);
    }
    CloseHandle(output);
    if (error != ERROR_SUCCESS) {
        if (disposition == CREATE_NEW) {
            DeleteFileW(file.c_str());
        }
        SetLastError(error);
        failWriting();
    }
}

}  // namespace

OutputTarget outputTarget(const fs::path& file) {
    std::error_code error;
    const fs::path target = fs::weakly_canonical(file, error);
    return {target.empty() ? file : target,
            fs::status(file, error).type() == fs::file_type::character};
}

bool leadsToStandardOutput(const fs::path&) {
    return false;  // it has no name here
}

void writeStream(const fs::path& stream, std::string_view content) {
    writeOpened(stream, OPEN_EXISTING, content);
}

void writeNewFile(const fs::path& file, std::string_view content, const fs::path&) {
    // A folder's files get their access rights from it.
    writeOpened(file, CREATE_NEW, content);
}

}  // namespace cqtool

#include "system/AppendFile.h"

#include <windows.h>

#include <algorithm>
#include <system_error>

#include "Failure.h"

namespace cqtool {
namespace {

constexpr DWORD kLongestWaitMs = 10'000;
constexpr DWORD kPauseMs = 5;
constexpr std::size_t kMostReadAtOnce = 1U << 30;

/// The locked byte, far behind every content: what is locked cannot be read.
constexpr DWORD kLockOffset = 0x7FFFFFFF;

[[noreturn]] void failInSystem(DWORD error = GetLastError()) {
    throw std::system_error(static_cast<int>(error), std::system_category());
}

OVERLAPPED at(std::uint64_t offset) {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    return place;
}

}  // namespace

struct AppendFile::Impl {
    std::filesystem::path file;
    HANDLE handle = INVALID_HANDLE_VALUE;
};

AppendFile::AppendFile(const std::filesystem::path& file, Mode mode)
    : impl_(std::make_unique<Impl>()) {
    impl_->file = file;
    std::error_code ignored;
    if (std::filesystem::is_directory(file, ignored) && mode != Mode::create) {
        throw Failure(file.string() + " is a folder", "name a job's file");
    }
    impl_->handle = CreateFileW(
        file.c_str(), mode == Mode::read ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE,
        FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
        mode == Mode::create ? CREATE_NEW : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (impl_->handle == INVALID_HANDLE_VALUE) {
        failInSystem();
    }
    if (GetFileType(impl_->handle) != FILE_TYPE_DISK) {
        CloseHandle(impl_->handle);
        throw Failure(file.string() + " is no ordinary file", "name a job's file");
    }
}

AppendFile::~AppendFile() {
    if (impl_) {
        CloseHandle(impl_->handle);
    }
}

void AppendFile::lock() {
    for (DWORD waited = 0;; waited += kPauseMs) {
        OVERLAPPED place{};
        place.OffsetHigh = kLockOffset;
        if (LockFileEx(impl_->handle, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0,
                       &place) != FALSE) {
            return;
        }
        if (GetLastError() != ERROR_LOCK_VIOLATION && GetLastError() != ERROR_IO_PENDING) {
            failInSystem();
        }
        if (waited >= kLongestWaitMs) {
            throw Failure("another program has locked " + impl_->file.string(),
                          "end it, or wait until it is done");
        }
        Sleep(kPauseMs);
    }
}

std::uint64_t AppendFile::size() const {
    LARGE_INTEGER size{};
    if (GetFileSizeEx(impl_->handle, &size) == FALSE) {
        failInSystem();
    }
    return static_cast<std::uint64_t>(size.QuadPart);
}

std::string AppendFile::readFrom(std::uint64_t offset) const {
    const std::uint64_t end = size();
    std::string content(end > offset ? static_cast<std::size_t>(end - offset) : 0, '\0');
    std::size_t got = 0;
    while (got < content.size()) {
        OVERLAPPED place = at(offset + got);
        DWORD count = 0;
        const auto most = static_cast<DWORD>(std::min(content.size() - got, kMostReadAtOnce));
        const bool isRead =
            ReadFile(impl_->handle, content.data() + got, most, &count, &place) != FALSE;
        if (!isRead && GetLastError() != ERROR_HANDLE_EOF) {
            failInSystem();
        }
        if (count == 0) {
            break;  // cut off meanwhile
        }
        got += count;
    }
    content.resize(got);
    return content;
}

void AppendFile::append(std::string_view content) {
    const std::uint64_t before = size();
    OVERLAPPED place = at(before);
    DWORD count = 0;
    DWORD error = ERROR_SUCCESS;
    if (WriteFile(impl_->handle, content.data(), static_cast<DWORD>(content.size()), &count,
                  &place) == FALSE) {
        error = GetLastError();
    } else if (count != content.size()) {
        error = ERROR_DISK_FULL;
    } else if (FlushFileBuffers(impl_->handle) == FALSE) {
        error = GetLastError();
    }
    if (error != ERROR_SUCCESS) {
        cutTo(before);
        failInSystem(error);
    }
}

void AppendFile::cutTo(std::uint64_t size) {
    LARGE_INTEGER end{};
    end.QuadPart = static_cast<LONGLONG>(size);
    if (SetFilePointerEx(impl_->handle, end, nullptr, FILE_BEGIN) == FALSE ||
        SetEndOfFile(impl_->handle) == FALSE) {
        failInSystem();
    }
}

}  // namespace cqtool

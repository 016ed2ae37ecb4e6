#include "system/AppendFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>

#include "Failure.h"

namespace cqtool {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kLongestWait{10'000};
constexpr milliseconds kPause{5};
constexpr mode_t kNewFileMode = 0666;  // less what the user's mask takes away

[[noreturn]] void failInSystem() {
    throw std::system_error(errno, std::generic_category());
}

/// A new file's name is on the disk only with its folder.
void syncFolderOf(const std::filesystem::path& file) {
    const auto folder = std::filesystem::absolute(file).parent_path();
    const int number = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (number >= 0) {
        ::fsync(number);  // some file systems cannot, and need not
        ::close(number);
    }
}

int flagsOf(AppendFile::Mode mode) {
    switch (mode) {
        case AppendFile::Mode::read:
            return O_RDONLY;
        case AppendFile::Mode::append:
            return O_RDWR | O_APPEND;
        case AppendFile::Mode::create:
            break;
    }
    return O_RDWR | O_APPEND | O_CREAT | O_EXCL;
}

}  // namespace

struct AppendFile::Impl {
    std::filesystem::path file;
    int number = -1;
};

AppendFile::AppendFile(const std::filesystem::path& file, Mode mode)
    : impl_(std::make_unique<Impl>()) {
    impl_->file = file;
    struct stat status {};
    // A pipe's open would wait for its other end.
    if (::stat(file.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && mode != Mode::create) {
        throw Failure(
            file.string() + " is " + (S_ISDIR(status.st_mode) ? "a folder" : "no ordinary file"),
            "name a job's file");
    }
    impl_->number =
        ::open(file.c_str(), flagsOf(mode) | O_NOCTTY | O_NONBLOCK | O_CLOEXEC, kNewFileMode);
    if (impl_->number < 0) {
        failInSystem();
    }
    if (mode == Mode::create) {
        syncFolderOf(file);
    }
}

AppendFile::~AppendFile() {
    if (impl_->number >= 0) {
        ::close(impl_->number);
    }
}

void AppendFile::lock() {
    const auto end = steady_clock::now() + kLongestWait;
    while (::flock(impl_->number, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            failInSystem();
        }
        if (steady_clock::now() >= end) {
            throw Failure("another program has locked " + impl_->file.string(),
                          "end it, or wait until it is done");
        }
        std::this_thread::sleep_for(kPause);
    }
}

std::uint64_t AppendFile::size() const {
    struct stat status {};
    if (::fstat(impl_->number, &status) != 0) {
        failInSystem();
    }
    return static_cast<std::uint64_t>(status.st_size);
}

std::string AppendFile::readFrom(std::uint64_t offset) const {
    const std::uint64_t end = size();
    std::string content(end > offset ? static_cast<std::size_t>(end - offset) : 0, '\0');
    std::size_t got = 0;
    while (got < content.size()) {
        const ssize_t count = ::pread(impl_->number, content.data() + got, content.size() - got,
                                      static_cast<off_t>(offset + got));
        if (count < 0 && errno != EINTR) {
            failInSystem();
        }
        if (count == 0) {
            break;  // cut off meanwhile
        }
        got += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    content.resize(got);
    return content;
}

void AppendFile::append(std::string_view content) {
    const std::uint64_t before = size();
    const ssize_t count = ::write(impl_->number, content.data(), content.size());
    const int error = count < 0 ? errno : ENOSPC;
    if (count != static_cast<ssize_t>(content.size()) || ::fsync(impl_->number) != 0) {
        const int reason = count == static_cast<ssize_t>(content.size()) ? errno : error;
        static_cast<void>(::ftruncate(impl_->number, static_cast<off_t>(before)));
        throw std::system_error(reason, std::generic_category());
    }
}

void AppendFile::cutTo(std::uint64_t size) {
    if (::ftruncate(impl_->number, static_cast<off_t>(size)) != 0) {
        failInSystem();
    }
}

}  // namespace cqtool

#include "system/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "Failure.h"

namespace cqtool {
namespace {

namespace fs = std::filesystem;

constexpr int kMostLinks = 40;
constexpr mode_t kOwnersMode = 0600;
constexpr mode_t kUsualMode = 0666;  // less what the user's mask takes away
constexpr mode_t kModeBits = 07777;

[[noreturn]] void fail() {
    throw std::system_error(errno, std::generic_category());
}

class OpenFile {
  public:
    OpenFile(const fs::path& file, int flags, mode_t mode = 0)
        : number_(::open(file.c_str(), flags | O_WRONLY | O_NOCTTY | O_CLOEXEC, mode)) {
        if (number_ < 0 && errno == ENXIO) {
            throw Failure("cannot write " + file.string() + ": nobody reads from it",
                          "start the program that reads from this pipe first");
        }
        if (number_ < 0) {
            fail();
        }
    }
    ~OpenFile() {
        if (number_ >= 0) {
            ::close(number_);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    int get() const { return number_; }

    void write(std::string_view content) {
        while (!content.empty()) {
            const ssize_t count = ::write(number_, content.data(), content.size());
            if (count < 0 && errno != EINTR) {
                fail();
            }
            content.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        }
    }

    /// Some file systems report only now that they have no room.
    void close() {
        if (::close(std::exchange(number_, -1)) != 0) {
            fail();
        }
    }

  private:
    int number_;
};

}  // namespace

OutputTarget outputTarget(const fs::path& file) {
    std::error_code error;
    fs::path target = fs::absolute(file);
    for (int links = 0; fs::is_symlink(target, error) && links < kMostLinks; ++links) {
        // Descriptors show as links, but what they lead to may have no name, or be shared.
        if (fs::canonical(target.parent_path(), error).native().starts_with("/proc/")) {
            return {target, true};
        }
        struct stat link {};
        if (::lstat(target.c_str(), &link) == 0 && link.st_uid != ::geteuid() && link.st_uid != 0) {
            throw Failure("cannot write " + file.string() + ": it is another user's link",
                          "name the file that it leads to, if that is what you want to write");
        }
        target = target.parent_path() / fs::read_symlink(target, error);
    }
    const auto type = fs::status(target, error).type();
    return {target, type == fs::file_type::character || type == fs::file_type::fifo};
}

bool leadsToStandardOutput(const fs::path& file) {
    struct stat named {};
    struct stat output {};
    return ::stat(file.c_str(), &named) == 0 && ::fstat(STDOUT_FILENO, &output) == 0 &&
           named.st_dev == output.st_dev && named.st_ino == output.st_ino;
}

void writeStream(const fs::path& stream, std::string_view content) {
    // A pipe without a reader is refused (ENXIO) instead of waited for.
    OpenFile output(stream, O_APPEND | O_NONBLOCK);
    ::fcntl(output.get(), F_SETFL, O_APPEND);
    output.write(content);
    output.close();
}

void writeNewFile(const fs::path& file, std::string_view content, const fs::path& replaced) {
    struct stat before {};
    const bool isReplacing = ::stat(replaced.c_str(), &before) == 0;
    OpenFile output(file, O_CREAT | O_EXCL | O_NOFOLLOW, isReplacing ? kOwnersMode : kUsualMode);
    try {
        if (isReplacing) {
            // A group that this user cannot give must not gain what the mode grants to a group.
            const bool isGiven = ::fchown(output.get(), before.st_uid, before.st_gid) == 0 ||
                                 ::fchown(output.get(), static_cast<uid_t>(-1), before.st_gid) == 0;
            const mode_t mode = before.st_mode & (isGiven ? kModeBits : kModeBits & ~S_IRWXG);
            if (::fchmod(output.get(), mode) != 0) {
                fail();
            }
        }
        output.write(content);
        output.close();
    } catch (const std::system_error&) {
        ::unlink(file.c_str());
        throw;
    }
}

}  // namespace cqtool

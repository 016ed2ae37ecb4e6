#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace cqtool {

/// An ordinary file that is read, and appended to under a lock that other programs with this class
/// respect. Throws std::system_error, and Failure for anything but an ordinary file.
class AppendFile {
  public:
    enum class Mode {
        read,    ///< appends nothing
        append,  ///< the file must be there
        create   ///< the file must not be there yet
    };

    AppendFile(const std::filesystem::path& file, Mode mode);
    /// Closes it, which ends the lock.
    ~AppendFile();
    AppendFile(const AppendFile&) = delete;
    AppendFile& operator=(const AppendFile&) = delete;

    /// Waits until no other has the lock, at most 10 s; throws Failure afterwards.
    void lock();

    std::uint64_t size() const;
    /// The bytes from there to the end.
    std::string readFrom(std::uint64_t offset) const;

    // Only under the lock.
    /// Writes in one piece to the end, and on to the disk. What cannot be written whole is cut off
    /// again.
    void append(std::string_view content);
    void cutTo(std::uint64_t size);

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace cqtool

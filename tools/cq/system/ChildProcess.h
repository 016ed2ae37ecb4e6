#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cqtool {

/// Another program, started by this one. Its standard input stays open as long as this object
/// lives, and is closed with this process at the latest; its standard output is read here; its
/// standard error is this program's, or dropped.
class ChildProcess {
  public:
    enum class Errors { shown, dropped };

    /// A program that lies beside this one, else one on the search path: on Windows its full path,
    /// because a name alone would be sought in the working folder, too; on POSIX its name.
    static std::filesystem::path locate(const std::string& name);

    /// Throws std::system_error when it cannot be started.
    ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                 Errors errors = Errors::shown);
    /// Closes its standard input, gives it 2 s to end, and then kills it.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// The next line that it prints; nothing when its output has ended or the timeout has passed.
    std::optional<std::string> readLine(std::chrono::milliseconds timeout);
    /// Whether its output ended in readLine().
    bool hasOutputEnded() const;
    /// Waits at most 2 s for its end. Returns its exit status, or nothing if it has none.
    std::optional<int> waitForEnd();

    /// From here on its output is read and dropped; otherwise it would block on a full pipe.
    void drainOutput();

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

/// Runs another program in this one's place, with its streams: on POSIX nothing of this one is left; on
/// Windows this one waits, and leaves Ctrl-C to the other. Call before other threads are started.
/// Returns the program's exit status; throws std::system_error when it cannot be started.
int runInstead(const std::filesystem::path& program, const std::vector<std::string>& arguments);

/// Opens a page with the program that the desktop has for it. Where there is none, or it fails, the
/// second one is called, perhaps later and on another thread.
void openInBrowser(const std::string& address, std::function<void()> failed);

}  // namespace cqtool

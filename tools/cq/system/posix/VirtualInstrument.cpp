#include "instrument/VirtualInstrument.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "Failure.h"
#include "system/Terminal.h"
#include "text/Text.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): some systems declare it

namespace cqtool {
namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kProgram = "cq-virtual-instrument";
constexpr std::string_view kPortPrefix = "port: ";
constexpr std::chrono::seconds kStartTimeout{5};
constexpr std::chrono::seconds kEndTimeout{2};
constexpr std::chrono::milliseconds kEndPollInterval{5};
constexpr int kExitStatusOfUsage = 2;

[[noreturn]] void failToStart(const std::string& reason) {
    throw Failure(std::string("the virtual instrument did not start: ") + reason,
                  std::string("check that ") + kProgram + " lies beside cq or on the search path");
}

class Descriptor {
  public:
    explicit Descriptor(int number = -1) : number_(number) {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&&) = delete;

    int get() const { return number_; }
    void close() {
        if (number_ >= 0) {
            ::close(std::exchange(number_, -1));
        }
    }

  private:
    int number_;
};

struct Pipe {
    Descriptor readEnd;
    Descriptor writeEnd;
};

Pipe makePipe() {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        failToStart(std::generic_category().message(errno));
    }
    for (const int end : ends) {
        // The child gets copies of the ends that are its own, and no other.
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    }
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

std::string programPath() {
    const auto beside = executableFolder() / kProgram;
    return ::access(beside.c_str(), X_OK) == 0 ? beside.string() : kProgram;
}

}  // namespace

/// The child process with its standard input and output.
class VirtualInstrument::Process {
  public:
    Process(Kind kind, const std::vector<std::string>& options) {
        std::vector<std::string> arguments{programPath(), "--until-eof"};
        if (kind == Kind::adapter) {
            arguments.emplace_back("--adapter");
        }
        arguments.insert(arguments.end(), options.begin(), options.end());
        spawn(arguments);
    }

    ~Process() {
        input_.writeEnd.close();
        const auto deadline = Clock::now() + kEndTimeout;
        while (!hasEnded() && Clock::now() < deadline) {
            std::this_thread::sleep_for(kEndPollInterval);
        }
        if (!hasEnded()) {
            ::kill(id_, SIGKILL);
            ::waitpid(id_, nullptr, 0);
        }
        if (drain_.joinable()) {
            drain_.join();
        }
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// The first line that it prints.
    std::string firstLine() {
        std::string line;
        const auto deadline = Clock::now() + kStartTimeout;
        for (;;) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            pollfd waiting{output_.readEnd.get(), POLLIN, 0};
            if (left.count() <= 0 || ::poll(&waiting, 1, static_cast<int>(left.count())) == 0) {
                failToStart("it named no port within 5 s");
            }
            char letter = 0;
            const auto count = ::read(output_.readEnd.get(), &letter, 1);
            if (count == 0) {
                explainEnd();
            }
            if (count == 1) {
                if (letter == '\n') {
                    return line;
                }
                line += letter;
            }
        }
    }

    /// From here on what it prints is read and dropped, or it would stop at a full pipe.
    void drainOutput() {
        drain_ = std::thread([this] {
            std::array<char, 4096> dropped;
            ssize_t count = 0;
            do {
                count = ::read(output_.readEnd.get(), dropped.data(), dropped.size());
            } while (count > 0 || (count < 0 && errno == EINTR));
        });
    }

  private:
    void spawn(std::vector<std::string>& arguments) {
        std::vector<char*> argv;
        argv.reserve(arguments.size() + 1);
        for (std::string& argument : arguments) {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);

        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_adddup2(&files, input_.readEnd.get(), STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&files, output_.writeEnd.get(), STDOUT_FILENO);

        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        // In a process group of its own Ctrl-C does not reach it: it must outlive the farewell.
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF);
        posix_spawnattr_setpgroup(&attributes, 0);
        sigset_t defaults;
        sigemptyset(&defaults);
        sigaddset(&defaults, SIGPIPE);
        posix_spawnattr_setsigdefault(&attributes, &defaults);

        const int error =
            ::posix_spawnp(&id_, argv.front(), &files, &attributes, argv.data(), environ);
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&files);
        if (error != 0) {
            id_ = -1;
            hasEnded_ = true;
            failToStart(std::generic_category().message(error));
        }
        input_.readEnd.close();
        output_.writeEnd.close();
    }

    bool hasEnded() {
        if (!hasEnded_) {
            hasEnded_ = ::waitpid(id_, &status_, WNOHANG) == id_;
        }
        return hasEnded_;
    }

    [[noreturn]] void explainEnd() {
        while (!hasEnded()) {
            std::this_thread::sleep_for(kEndPollInterval);
        }
        if (WIFEXITED(status_) && WEXITSTATUS(status_) == kExitStatusOfUsage) {
            throw UsageError(std::string("the virtual instrument refused its options; ") +
                             kProgram + " --help lists them");
        }
        failToStart("it ended at once");
    }

    Pipe input_ = makePipe();
    Pipe output_ = makePipe();
    pid_t id_ = -1;
    int status_ = 0;
    bool hasEnded_ = false;
    std::thread drain_;
};

VirtualInstrument::VirtualInstrument(Kind kind, const std::vector<std::string>& options)
    : process_(std::make_unique<Process>(kind, options)) {
    const std::string line = process_->firstLine();
    if (!line.starts_with(kPortPrefix)) {
        failToStart("its first line names no port: " + line);
    }
    portName_ = trimmed(std::string_view(line).substr(kPortPrefix.size()));
    process_->drainOutput();
}

VirtualInstrument::~VirtualInstrument() = default;

}  // namespace cqtool

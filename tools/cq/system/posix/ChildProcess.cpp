#include "system/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>
#include <utility>

#include "system/Terminal.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): some systems declare it

namespace cqtool {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kEndTimeout{2};
constexpr std::chrono::milliseconds kEndPollInterval{5};

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
        throw std::system_error(errno, std::generic_category());
    }
    for (const int end : ends) {
        // The child gets copies of its own ends only.
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    }
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

}  // namespace

struct ChildProcess::Impl {
    void spawn(std::string program, std::vector<std::string> arguments, Errors errors) {
        std::vector<char*> argv{program.data()};
        for (std::string& argument : arguments) {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);

        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_adddup2(&files, input.readEnd.get(), STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&files, output.writeEnd.get(), STDOUT_FILENO);
        if (errors == Errors::dropped) {
            posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        }

        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        // In a process group of its own the child does not get Ctrl-C: it must outlive the goodbye.
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF);
        posix_spawnattr_setpgroup(&attributes, 0);
        sigset_t defaults;
        sigemptyset(&defaults);
        sigaddset(&defaults, SIGPIPE);
        posix_spawnattr_setsigdefault(&attributes, &defaults);

        const int error =
            ::posix_spawnp(&id, argv.front(), &files, &attributes, argv.data(), environ);
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&files);
        if (error != 0) {
            throw std::system_error(error, std::generic_category());
        }
        input.readEnd.close();
        output.writeEnd.close();
    }

    bool waitForEnd() {
        const auto deadline = Clock::now() + kEndTimeout;
        while (!hasEnded && Clock::now() < deadline) {
            hasEnded = ::waitpid(id, &status, WNOHANG) == id;
            if (!hasEnded) {
                std::this_thread::sleep_for(kEndPollInterval);
            }
        }
        return hasEnded;
    }

    Pipe input = makePipe();
    Pipe output = makePipe();
    pid_t id = -1;
    int status = 0;
    bool hasEnded = false;
    bool hasOutputEnded = false;
    std::thread drain;
};

std::filesystem::path ChildProcess::locate(const std::string& name) {
    const auto beside = executableFolder() / name;
    return ::access(beside.c_str(), X_OK) == 0 ? beside : std::filesystem::path(name);
}

ChildProcess::ChildProcess(const std::filesystem::path& program,
                           const std::vector<std::string>& arguments, Errors errors)
    : impl_(std::make_unique<Impl>()) {
    impl_->spawn(program, arguments, errors);
}

ChildProcess::~ChildProcess() {
    impl_->input.writeEnd.close();
    if (!impl_->waitForEnd()) {
        ::kill(impl_->id, SIGKILL);
        ::waitpid(impl_->id, nullptr, 0);
    }
    if (impl_->drain.joinable()) {
        impl_->drain.join();
    }
}

std::optional<std::string> ChildProcess::readLine(std::chrono::milliseconds timeout) {
    std::string line;
    const auto deadline = Clock::now() + timeout;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd waiting{impl_->output.readEnd.get(), POLLIN, 0};
        if (left.count() <= 0 || ::poll(&waiting, 1, static_cast<int>(left.count())) == 0) {
            return std::nullopt;
        }
        char letter = 0;
        const auto count = ::read(impl_->output.readEnd.get(), &letter, 1);
        if (count == 0) {
            impl_->hasOutputEnded = true;
            return std::nullopt;
        }
        if (count == 1) {
            if (letter == '\n') {
                return line;
            }
            line += letter;
        }
    }
}

bool ChildProcess::hasOutputEnded() const {
    return impl_->hasOutputEnded;
}

std::optional<int> ChildProcess::waitForEnd() {
    return impl_->waitForEnd() && WIFEXITED(impl_->status)
               ? std::optional<int>(WEXITSTATUS(impl_->status))
               : std::nullopt;
}

void ChildProcess::drainOutput() {
    impl_->drain = std::thread([output = impl_->output.readEnd.get()] {
        std::array<char, 4096> dropped;
        ssize_t count = 0;
        do {
            count = ::read(output, dropped.data(), dropped.size());
        } while (count > 0 || (count < 0 && errno == EINTR));
    });
}

int runInstead(const std::filesystem::path& program, const std::vector<std::string>& arguments) {
    std::string name = program;
    std::vector<std::string> copies = arguments;
    std::vector<char*> argv{name.data()};
    for (std::string& argument : copies) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    ::execvp(argv.front(), argv.data());
    throw std::system_error(errno, std::generic_category());
}

void openInBrowser(const std::string& address, std::function<void()> failed) {
    std::string program = "xdg-open";
    std::string argument = address;
    const std::array<char*, 3> argv{program.data(), argument.data(), nullptr};
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        posix_spawn_file_actions_addopen(&files, stream, "/dev/null", O_RDWR, 0);
    }
    // Ctrl-C is not for the browser, which may be this program's child.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attributes, 0);
    pid_t child = 0;
    const int error =
        ::posix_spawnp(&child, argv.front(), &files, &attributes, argv.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    if (error != 0) {
        return failed();
    }
    std::thread([child, failed = std::move(failed)] {
        int status = 0;
        while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            failed();
        }
    }).detach();
}

}  // namespace cqtool

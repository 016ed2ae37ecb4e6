#include "System.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "posix/Descriptor.h"
#include "posix/HostWatch.h"
#include "posix/PseudoTerminal.h"

namespace vi {
namespace {

/// Nothing signals that a file has grown, or that a FIFO has a new writer.
constexpr std::chrono::milliseconds kControlPeriod{20};

volatile sig_atomic_t mustEnd = 0;

void askToEnd(int) {
    mustEnd = 1;
}

timespec toTimespec(std::chrono::nanoseconds duration) {
    const auto rest = std::max(duration, std::chrono::nanoseconds{0});
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(rest);
    timespec result{};
    result.tv_sec = seconds.count();
    result.tv_nsec = (rest - seconds).count();
    return result;
}

/// While it lives, delivers keys one by one, if standard input is this program's terminal.
class KeyMode {
  public:
    KeyMode() {
        isChanged_ = isatty(STDIN_FILENO) != 0 && tcgetpgrp(STDIN_FILENO) == getpgrp() &&
                     tcgetattr(STDIN_FILENO, &before_) == 0;
        if (isChanged_) {
            termios keys = before_;
            keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
            tcsetattr(STDIN_FILENO, TCSANOW, &keys);
        }
    }
    ~KeyMode() {
        if (isChanged_) {
            tcsetattr(STDIN_FILENO, TCSANOW, &before_);
        }
    }
    KeyMode(const KeyMode&) = delete;
    KeyMode& operator=(const KeyMode&) = delete;

  private:
    termios before_{};
    bool isChanged_ = false;
};

/// A control file, read as far as it has grown.
class ControlFile {
  public:
    explicit ControlFile(const std::string& path) {
        if (path.empty()) {
            return;
        }
        file_ = Descriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        if (!file_.isOpen()) {
            throw std::runtime_error("cannot read the control file " + path + ": " +
                                     std::generic_category().message(errno));
        }
    }

    bool isOpen() const { return file_.isOpen(); }

    std::string read() const {
        std::array<char, 4096> bytes{};
        const ssize_t count = isOpen() ? ::read(file_.get(), bytes.data(), bytes.size()) : 0;
        return {bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
    }

  private:
    Descriptor file_;
};

/// Descriptors for many lines.
void allowManyFiles() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

struct Terminal {
    LineOptions options;
    std::unique_ptr<PseudoTerminal> terminal;  // while it is plugged in
    int watch = -1;
};

}  // namespace

struct System::Impl {
    Impl(std::vector<LineOptions> lines, const std::string& controlFile) : control(controlFile) {
        for (LineOptions& options : lines) {
            terminals.push_back({std::move(options), nullptr, -1});
        }
        if (terminals.size() > 1) {
            allowManyFiles();
        }
        // Signals are unblocked only during the wait, so that none is lost between the check and
        // the wait.
        sigset_t ending;
        sigemptyset(&ending);
        struct sigaction action {};
        action.sa_handler = askToEnd;
        for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
            sigaddset(&ending, number);
            sigaction(number, &action, nullptr);
        }
        sigprocmask(SIG_BLOCK, &ending, &whileWaiting);
        for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
            sigdelset(&whileWaiting, number);
        }
        for (const int number : {SIGPIPE, SIGTTIN, SIGTTOU}) {
            signal(number, SIG_IGN);
        }
    }

    void readKeys(Happening& happening) {
        std::array<char, 256> keys{};
        const ssize_t count = ::read(STDIN_FILENO, keys.data(), keys.size());
        if (count > 0) {
            happening.keys.assign(keys.data(), static_cast<std::size_t>(count));
        } else if (count == 0 || (errno != EINTR && errno != EAGAIN)) {
            hasInput = false;
            happening.inputEnded = true;
        }
    }

    void unlock(int watch) {
        for (const Terminal& each : terminals) {
            if (each.watch == watch && each.terminal != nullptr) {
                each.terminal->hostHasGone();
            }
        }
    }

    /// Waits for the terminals in their order, the watch and standard input.
    std::vector<pollfd> waits(const std::vector<bool>& wantsWrite) const {
        std::vector<pollfd> list;
        list.reserve(terminals.size() + 2);
        for (std::size_t i = 0; i < terminals.size(); ++i) {
            // A negative descriptor is ignored in the wait.
            list.push_back({terminals[i].terminal ? terminals[i].terminal->descriptor() : -1,
                            static_cast<short>(wantsWrite[i] ? POLLIN | POLLOUT : POLLIN), 0});
        }
        list.push_back({hosts.descriptor(), POLLIN, 0});
        list.push_back({hasInput ? STDIN_FILENO : -1, POLLIN, 0});
        return list;
    }

    std::vector<Terminal> terminals;
    HostWatch hosts;
    ControlFile control;
    KeyMode keyMode;
    sigset_t whileWaiting{};
    bool hasInput = true;
};

void System::secureStandardStreams() {
    int descriptor = 0;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
        descriptor = ::open("/dev/null", O_RDWR);
    }
    if (descriptor >= 0) {
        ::close(descriptor);
    }
}

std::string System::check(const LineOptions& options) {
    return options.comPort.empty() && options.pipe.empty()
               ? std::string()
               : "--com and --pipe are for Windows; here a pseudo-terminal is made";
}

std::size_t System::maxLines() {
    return 1000;
}

System::System(std::vector<LineOptions> lines, const std::string& controlFile)
    : impl_(std::make_unique<Impl>(std::move(lines), controlFile)) {}

System::~System() = default;

std::string System::plugIn(std::size_t line) {
    Terminal& place = impl_->terminals[line];
    place.terminal = std::make_unique<PseudoTerminal>(place.options.link);
    place.watch = impl_->hosts.add(place.terminal->name());
    return place.terminal->name();
}

void System::unplug(std::size_t line) {
    Terminal& place = impl_->terminals[line];
    impl_->hosts.remove(place.watch);
    place.terminal.reset();
}

bool System::isPlugged(std::size_t line) const {
    return impl_->terminals[line].terminal != nullptr;
}

std::size_t System::write(std::size_t line, ByteView bytes) {
    return isPlugged(line) ? impl_->terminals[line].terminal->write(bytes) : bytes.size();
}

System::Happening System::wait(std::optional<TimePoint> until,
                               const std::vector<bool>& wantsWrite) {
    if (impl_->control.isOpen()) {
        const TimePoint next = std::chrono::steady_clock::now() + kControlPeriod;
        until = until ? std::min(*until, next) : next;
    }
    std::vector<pollfd> waits = impl_->waits(wantsWrite);
    timespec limit{};
    if (until) {
        limit = toTimespec(*until - std::chrono::steady_clock::now());
    }
    const int ready =
        ppoll(waits.data(), waits.size(), until ? &limit : nullptr, &impl_->whileWaiting);
    // A wait that is over at once, as with endless input, lets no signal through.
    sigset_t blocked;
    sigprocmask(SIG_SETMASK, &impl_->whileWaiting, &blocked);
    sigprocmask(SIG_SETMASK, &blocked, nullptr);
    Happening happening;
    happening.mustEnd = mustEnd != 0;
    happening.control = impl_->control.read();
    const std::size_t count = impl_->terminals.size();
    happening.received.resize(count);
    if (ready > 0) {
        if (waits[count].revents != 0) {
            impl_->hosts.handle([this](int watch) { impl_->unlock(watch); });
        }
        if (waits[count + 1].revents != 0) {
            impl_->readKeys(happening);
        }
    }
    // What the host sent before it was told otherwise may have arrived since the wait.
    const bool isTold = waits[count + 1].revents != 0 || !happening.control.empty();
    for (std::size_t i = 0; i < count; ++i) {
        if (impl_->terminals[i].terminal && (isTold || (waits[i].revents & POLLIN) != 0)) {
            impl_->terminals[i].terminal->read(happening.received[i]);
        }
    }
    return happening;
}

void System::say(std::string_view line) {
    std::string text(line);
    text += '\n';
    // A parent that has stopped reading must not stop the instrument.
    pollfd out{STDOUT_FILENO, POLLOUT, 0};
    if (poll(&out, 1, 0) == 1 && (out.revents & POLLOUT) != 0) {
        [[maybe_unused]] const ssize_t count = ::write(STDOUT_FILENO, text.data(), text.size());
    }
}

}  // namespace vi

#include "System.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "posix/PseudoTerminal.h"

namespace vi {
namespace {

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

}  // namespace

struct System::Impl {
    explicit Impl(LineOptions lineOptions) : options(std::move(lineOptions)) {
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

    LineOptions options;
    KeyMode keyMode;
    sigset_t whileWaiting{};
    bool hasInput = true;
    std::unique_ptr<PseudoTerminal> terminal;
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

System::System(LineOptions options) : impl_(std::make_unique<Impl>(std::move(options))) {}

System::~System() = default;

std::string System::plugIn() {
    impl_->terminal = std::make_unique<PseudoTerminal>(impl_->options.link);
    return impl_->terminal->name();
}

void System::unplug() {
    impl_->terminal.reset();
}

bool System::isPlugged() const {
    return impl_->terminal != nullptr;
}

std::size_t System::write(ByteView bytes) {
    return isPlugged() ? impl_->terminal->write(bytes) : bytes.size();
}

System::Happening System::wait(std::optional<TimePoint> until, bool wantsWrite) {
    const auto& terminal = impl_->terminal;
    const auto lineEvents = static_cast<short>(wantsWrite ? POLLIN | POLLOUT : POLLIN);
    // A negative descriptor is ignored in the wait.
    std::array<pollfd, 3> waits{{
        {terminal ? terminal->descriptor() : -1, lineEvents, 0},
        {terminal ? terminal->watchDescriptor() : -1, POLLIN, 0},
        {impl_->hasInput ? STDIN_FILENO : -1, POLLIN, 0},
    }};
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
    if (ready > 0) {
        if (waits[1].revents != 0) {
            terminal->handleWatch();
        }
        const bool hasKeys = waits[2].revents != 0;
        if (hasKeys) {
            impl_->readKeys(happening);
        }
        // What the host sent before the keys were pressed may have arrived since the wait.
        if (terminal && (hasKeys || (waits[0].revents & POLLIN) != 0)) {
            terminal->read(happening.received);
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

#include "system/Terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <system_error>

namespace cqtool {
namespace {

constexpr std::size_t kUsualColumns = 80;

std::optional<std::string> variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

}  // namespace

void prepareTerminal() {
    // Open for the wrong direction, so that using one still fails.
    for (int stream = 0; stream >= 0 && stream <= STDERR_FILENO;) {
        stream = ::open("/dev/null", ::fcntl(STDIN_FILENO, F_GETFD) < 0 ? O_WRONLY : O_RDONLY);
        if (stream > STDERR_FILENO) {
            ::close(stream);
        }
    }
    // A reader that goes away (cq ... | head) shows as a failed write instead of ending the program
    // before the instrument is closed.
    std::signal(SIGPIPE, SIG_IGN);
}

const std::vector<int>& endingSignals() {
    static const std::vector<int> kSignals{SIGINT, SIGTERM, SIGHUP, SIGQUIT};
    return kSignals;
}

bool isOutputAbandoned() {
    pollfd output{STDOUT_FILENO, 0, 0};
    return ::poll(&output, 1, 0) == 1 && (output.revents & (POLLERR | POLLHUP)) != 0;
}

TerminalFacts terminalFacts() {
    return {::isatty(STDOUT_FILENO) == 1, false, variable("NO_COLOR"), variable("COLORTERM"),
            variable("TERM")};
}

std::size_t terminalColumns() {
    winsize size{};
    return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col
                                                                             : kUsualColumns;
}

bool isTerminal(StandardStream stream) {
    return ::isatty(stream == StandardStream::input ? STDIN_FILENO : STDERR_FILENO) == 1;
}

std::filesystem::path executableFolder() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
}

bool portExists(const std::string& port) {
    return ::access(port.c_str(), F_OK) == 0;
}

std::string adviceForPort(const std::string& port, PortUse use) {
    std::error_code error;
    if (!portExists(port)) {
        return "there is no " + port + ": " +
               (use == PortUse::adapter
                    ? "plug the adapter in and give the name of its port"
                    : "plug the instrument in, or leave --port out to let cq find it");
    }
    if (!std::filesystem::is_character_file(port, error)) {
        return port + " is not a serial port; a port is named like " +
               (use == PortUse::adapter ? "/dev/ttyUSB0" : "/dev/ttyACM0");
    }
    if (::access(port.c_str(), R_OK | W_OK) != 0) {
        return "you may not use " + port +
               ": join the group that owns it (often dialout), then log in again";
    }
    return "end any other program that uses " + port + "; check that it is the " +
           (use == PortUse::adapter ? "adapter's" : "instrument's") + " port";
}

}  // namespace cqtool

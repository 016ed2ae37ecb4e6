#include "system/Terminal.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <system_error>

namespace cqtool {
namespace {

std::optional<std::string> variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

}  // namespace

void prepareTerminal() {
    // A reader that goes away (cq ... | head) shows as a failed write instead of ending the program
    // before the instrument is closed.
    std::signal(SIGPIPE, SIG_IGN);
}

TerminalFacts terminalFacts() {
    return {::isatty(STDOUT_FILENO) == 1, false, variable("NO_COLOR"), variable("COLORTERM"),
            variable("TERM")};
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

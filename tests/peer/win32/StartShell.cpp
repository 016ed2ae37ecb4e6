#include "peer/StartShell.h"

#include <windows.h>

#include <stdexcept>

namespace cqtest {

// Wine runs the machine's own programs, too, but gives them none of this process's pipes.
void startShell(const std::string& script) {
    std::string command = "/bin/sh " + script;
    STARTUPINFOA startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (CreateProcessA("/bin/sh", command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                       &startup, &process) == FALSE) {
        throw std::runtime_error("cannot start " + script);
    }
}

std::filesystem::path ownPath(const std::string& path) {
    return "Z:" + path;
}

PortPlace makePortPlace(const std::string& /*directory*/, int number) {
    constexpr int kFirstPort = 5;
    const std::string digits = std::to_string(kFirstPort + number);
    return {CQAPI_TEST_PORT_LINKS "/com" + digits, "COM" + digits};
}

}  // namespace cqtest

#include "system/Terminal.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace cqtool {
namespace {

constexpr std::size_t kUsualColumns = 80;

std::optional<std::string> variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

HANDLE output() {
    return GetStdHandle(STD_OUTPUT_HANDLE);
}

bool consoleMode(DWORD& mode) {
    return GetConsoleMode(output(), &mode) != 0;
}

}  // namespace

void prepareTerminal() {
    SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    DWORD mode = 0;
    if (consoleMode(mode)) {
        SetConsoleMode(output(), mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    }
}

const std::vector<int>& endingSignals() {
    static const std::vector<int> kSignals{SIGINT, SIGTERM, SIGBREAK};
    return kSignals;
}

bool isOutputAbandoned() {
    DWORD count = 0;
    return GetFileType(output()) == FILE_TYPE_PIPE &&
           WriteFile(output(), "", 0, &count, nullptr) == FALSE;
}

TerminalFacts terminalFacts() {
    DWORD mode = 0;
    const bool isConsole = consoleMode(mode);
    return {isConsole, isConsole && (mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0,
            variable("NO_COLOR"), variable("COLORTERM"), variable("TERM")};
}

std::size_t terminalColumns() {
    CONSOLE_SCREEN_BUFFER_INFO screen{};
    return GetConsoleScreenBufferInfo(output(), &screen) == FALSE
               ? kUsualColumns
               : static_cast<std::size_t>(screen.srWindow.Right - screen.srWindow.Left + 1);
}

bool isTerminal(StandardStream stream) {
    DWORD mode = 0;
    return GetConsoleMode(
               GetStdHandle(stream == StandardStream::input ? STD_INPUT_HANDLE : STD_ERROR_HANDLE),
               &mode) != 0;
}

std::filesystem::path executableFolder() {
    std::array<wchar_t, 32768> name{};
    const DWORD length = GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size()));
    return std::filesystem::path(name.data(), name.data() + length).parent_path();
}

bool portExists(const std::string& port) {
    constexpr const char* kPipeFolder = R"(\\.\pipe\)";
    if (port.starts_with(kPipeFolder)) {
        return WaitNamedPipeA(port.c_str(), 1) != FALSE || GetLastError() == ERROR_SEM_TIMEOUT;
    }
    std::array<char, 1024> target{};
    return QueryDosDeviceA(port.c_str(), target.data(), static_cast<DWORD>(target.size())) != 0;
}

std::string adviceForPort(const std::string& port, PortUse use) {
    if (!portExists(port)) {
        return "there is no " + port + ": " +
               (use == PortUse::adapter
                    ? "plug the adapter in and give the name of its port"
                    : "plug the instrument in, or leave --port out to let cq find it");
    }
    return "end any other program that uses " + port + "; check that it is the " +
           (use == PortUse::adapter ? "adapter's" : "instrument's") + " port";
}

}  // namespace cqtool

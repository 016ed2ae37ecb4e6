#include "system/ChildProcess.h"

#include <windows.h>

#include <shellapi.h>

#include <array>
#include <sstream>
#include <system_error>
#include <thread>
#include <utility>

#include "system/Terminal.h"

namespace cqtool {
namespace {

using Clock = std::chrono::steady_clock;

constexpr DWORD kEndTimeoutMs = 2000;
constexpr std::chrono::milliseconds kPollInterval{2};  // nothing signals that a pipe has data

[[noreturn]] void fail() {
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
}

class Handle {
  public:
    explicit Handle(HANDLE value = nullptr) : value_(value) {}
    ~Handle() { close(); }
    Handle(Handle&& other) noexcept : value_(std::exchange(other.value_, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }

    HANDLE get() const { return value_; }
    void close() {
        if (value_ != nullptr && value_ != INVALID_HANDLE_VALUE) {
            CloseHandle(std::exchange(value_, nullptr));
        }
    }

  private:
    HANDLE value_;
};

struct Pipe {
    Handle readEnd;
    Handle writeEnd;
};

Pipe makePipe() {
    HANDLE readEnd = nullptr;
    HANDLE writeEnd = nullptr;
    if (CreatePipe(&readEnd, &writeEnd, nullptr, 0) == FALSE) {
        fail();
    }
    return {Handle(readEnd), Handle(writeEnd)};
}

/// A copy for the child to inherit; empty if there is nothing to copy.
Handle inheritable(HANDLE handle) {
    HANDLE copy = nullptr;
    DuplicateHandle(GetCurrentProcess(), handle, GetCurrentProcess(), &copy, 0, TRUE,
                    DUPLICATE_SAME_ACCESS);
    return Handle(copy);
}

/// This program's arguments are in the system's code page.
std::wstring wide(const std::string& text) {
    const int size = static_cast<int>(text.size());
    const int length = MultiByteToWideChar(CP_ACP, 0, text.data(), size, nullptr, 0);
    std::wstring result(static_cast<std::size_t>(length), L'\0');
    MultiByteToWideChar(CP_ACP, 0, text.data(), size, result.data(), length);
    return result;
}

/// Quoted so that the child's run-time library reads the same argument: backslashes before a
/// quotation mark are doubled.
std::wstring quoted(const std::wstring& argument) {
    std::wstring result = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t letter : argument) {
        if (letter == L'"') {
            result.append(backslashes + 1, L'\\');
        }
        backslashes = letter == L'\\' ? backslashes + 1 : 0;
        result += letter;
    }
    return result.append(backslashes, L'\\') + L'"';
}

std::vector<std::filesystem::path> searchPath() {
    std::wstring path(GetEnvironmentVariableW(L"PATH", nullptr, 0), L'\0');
    path.resize(GetEnvironmentVariableW(L"PATH", path.data(), static_cast<DWORD>(path.size())));
    std::vector<std::filesystem::path> folders;
    std::wistringstream entries(path);
    for (std::wstring entry; std::getline(entries, entry, L';');) {
        folders.emplace_back(entry);
    }
    return folders;
}

std::wstring commandLine(const std::filesystem::path& program,
                         const std::vector<std::string>& arguments) {
    std::wstring line = quoted(program.wstring());
    for (const std::string& argument : arguments) {
        line += L' ' + quoted(wide(argument));
    }
    return line;
}

}  // namespace

struct ChildProcess::Impl {
    void start(const std::filesystem::path& program, std::wstring line, Errors errors) {
        Handle childInput = inheritable(input.readEnd.get());
        Handle childOutput = inheritable(output.writeEnd.get());
        Handle childError =
            errors == Errors::shown ? inheritable(GetStdHandle(STD_ERROR_HANDLE)) : Handle();
        STARTUPINFOW startup{};
        startup.cb = sizeof(startup);
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = childInput.get();
        startup.hStdOutput = childOutput.get();
        startup.hStdError = childError.get();
        // In a process group of its own the child does not get Ctrl-C: it must outlive the goodbye.
        // And it must not open a window if this program has none.
        const DWORD flags =
            CREATE_NEW_PROCESS_GROUP | (GetConsoleWindow() == nullptr ? CREATE_NO_WINDOW : 0);
        PROCESS_INFORMATION information{};
        if (CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, flags, nullptr,
                           nullptr, &startup, &information) == FALSE) {
            fail();
        }
        CloseHandle(information.hThread);
        process = Handle(information.hProcess);
        input.readEnd.close();
        output.writeEnd.close();
    }

    Pipe input = makePipe();
    Pipe output = makePipe();
    Handle process;
    bool hasOutputEnded = false;
    std::thread drain;
};

std::filesystem::path ChildProcess::locate(const std::string& name) {
    const auto beside = executableFolder() / (name + ".exe");
    std::error_code ignored;
    if (std::filesystem::exists(beside, ignored)) {
        return beside;
    }
    for (const std::filesystem::path& folder : searchPath()) {
        if (folder.is_absolute() && std::filesystem::exists(folder / beside.filename(), ignored)) {
            return folder / beside.filename();
        }
    }
    return beside;  // starting it will say that it is not there
}

ChildProcess::ChildProcess(const std::filesystem::path& program,
                           const std::vector<std::string>& arguments, Errors errors)
    : impl_(std::make_unique<Impl>()) {
    impl_->start(program, commandLine(program, arguments), errors);
}

ChildProcess::~ChildProcess() {
    impl_->input.writeEnd.close();
    const HANDLE process = impl_->process.get();
    if (WaitForSingleObject(process, kEndTimeoutMs) != WAIT_OBJECT_0) {
        TerminateProcess(process, 1);
        WaitForSingleObject(process, INFINITE);
    }
    if (impl_->drain.joinable()) {
        impl_->drain.join();
    }
}

std::optional<std::string> ChildProcess::readLine(std::chrono::milliseconds timeout) {
    std::string line;
    const HANDLE output = impl_->output.readEnd.get();
    const auto deadline = Clock::now() + timeout;
    while (Clock::now() < deadline) {
        DWORD available = 0;
        char letter = 0;
        DWORD count = 0;
        if (PeekNamedPipe(output, nullptr, 0, nullptr, &available, nullptr) == FALSE) {
            impl_->hasOutputEnded = true;
            return std::nullopt;
        }
        if (available == 0) {
            std::this_thread::sleep_for(kPollInterval);
        } else if (ReadFile(output, &letter, 1, &count, nullptr) != FALSE && count == 1) {
            if (letter == '\n') {
                return line;
            }
            line += letter;
        }
    }
    return std::nullopt;
}

bool ChildProcess::hasOutputEnded() const {
    return impl_->hasOutputEnded;
}

std::optional<int> ChildProcess::waitForEnd() {
    DWORD status = 0;
    const HANDLE process = impl_->process.get();
    return WaitForSingleObject(process, kEndTimeoutMs) == WAIT_OBJECT_0 &&
                   GetExitCodeProcess(process, &status) != FALSE
               ? std::optional<int>(static_cast<int>(status))
               : std::nullopt;
}

void ChildProcess::drainOutput() {
    impl_->drain = std::thread([output = impl_->output.readEnd.get()] {
        std::array<char, 4096> dropped;
        DWORD count = 0;
        while (ReadFile(output, dropped.data(), static_cast<DWORD>(dropped.size()), &count,
                        nullptr) != FALSE) {
        }
    });
}

int runInstead(const std::filesystem::path& program, const std::vector<std::string>& arguments) {
    SetConsoleCtrlHandler([](DWORD) -> BOOL { return TRUE; }, TRUE);
    std::wstring line = commandLine(program, arguments);
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION information{};
    if (CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                       &startup, &information) == FALSE) {
        fail();
    }
    CloseHandle(information.hThread);
    const Handle process(information.hProcess);
    WaitForSingleObject(process.get(), INFINITE);
    DWORD status = 1;
    GetExitCodeProcess(process.get(), &status);
    return static_cast<int>(status);
}

void openInBrowser(const std::string& address, std::function<void()> failed) {
    constexpr INT_PTR kLastError = 32;
    const auto result =
        ShellExecuteA(nullptr, "open", address.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
    if (reinterpret_cast<INT_PTR>(result) <= kLastError) {
        failed();
    }
}

}  // namespace cqtool

#pragma once

#include <windows.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <utility>

namespace cqtest {

/// A virtual instrument as Windows users have it: the program built beside this one, on a named
/// pipe. Its keys are pressed through its standard input, whose end ends it.
class PipeInstrument {
  public:
    /// \param options added to its command line.
    /// \throw std::runtime_error when it does not start.
    explicit PipeInstrument(const std::string& options = {}) {
        static std::atomic<int> count{0};
        const std::string name =
            "cqapi-test-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(count++);
        portName_ = R"(\\.\pipe\)" + name;
        start("\"" + folder() + "cq-virtual-instrument.exe\" --until-eof --noise 0 --pipe " + name +
              " " + options);
        waitUntilServed();
    }
    ~PipeInstrument() {
        CloseHandle(keys_);
        WaitForSingleObject(process_, INFINITE);
        CloseHandle(process_);
    }
    PipeInstrument(const PipeInstrument&) = delete;
    PipeInstrument& operator=(const PipeInstrument&) = delete;

    const char* portName() const { return portName_.c_str(); }
    /// \throw std::runtime_error when no host can come within 10 s.
    void waitUntilServed() const {
        for (int tries = 0; WaitNamedPipeA(portName_.c_str(), 1) == FALSE; ++tries) {
            if (tries == 500) {
                throw std::runtime_error("the virtual instrument serves no pipe");
            }
            Sleep(20);
        }
    }

    void press(char key) {
        DWORD count = 0;
        WriteFile(keys_, &key, 1, &count, nullptr);
    }

  private:
    static std::string folder() {
        std::string path(MAX_PATH, '\0');
        path.resize(GetModuleFileNameA(nullptr, path.data(), static_cast<DWORD>(path.size())));
        return path.substr(0, path.rfind('\\') + 1);
    }

    void start(std::string command) {
        HANDLE input = nullptr;
        CreatePipe(&input, &keys_, nullptr, 0);
        SetHandleInformation(input, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
        STARTUPINFOA startup{};
        startup.cb = sizeof(startup);
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = input;
        PROCESS_INFORMATION information{};
        const BOOL hasStarted = CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, 0,
                                               nullptr, nullptr, &startup, &information);
        CloseHandle(input);
        if (hasStarted == FALSE) {
            throw std::runtime_error("cannot start " + command);
        }
        CloseHandle(information.hThread);
        process_ = information.hProcess;
    }

    std::string portName_;
    HANDLE keys_ = nullptr;
    HANDLE process_ = nullptr;
};

}  // namespace cqtest

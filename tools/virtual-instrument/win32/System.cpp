#include "System.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <stdexcept>

#include "win32/ComPort.h"
#include "win32/Handle.h"
#include "win32/Keys.h"
#include "win32/NamedPipe.h"

#ifndef CREATE_WAITABLE_TIMER_HIGH_RESOLUTION
#define CREATE_WAITABLE_TIMER_HIGH_RESOLUTION 0x00000002
#endif

namespace vi {
namespace {

/// Nothing signals that a pipe has keys, that a file has grown, or that a full port accepts bytes
/// again.
constexpr std::chrono::milliseconds kPollPeriod{50};

HANDLE endEvent = nullptr;  // of the only System; the console's handler has no other way to it

BOOL WINAPI askToEnd(DWORD) {
    return SetEvent(endEvent);
}

HANDLE makeTimer() {
    const HANDLE fine = CreateWaitableTimerExW(
        nullptr, nullptr, CREATE_WAITABLE_TIMER_HIGH_RESOLUTION, TIMER_ALL_ACCESS);
    // Systems before Windows 10 1803 have no high-resolution timer.
    return fine != nullptr ? fine : CreateWaitableTimerExW(nullptr, nullptr, 0, TIMER_ALL_ACCESS);
}

constexpr std::size_t kMaxPipeName = 200;

std::string pipeName(const LineOptions& options) {
    return options.pipe.empty() ? "cq-virtual-instrument-" + std::to_string(GetCurrentProcessId())
                                : options.pipe;
}

bool isComName(const std::string& name) {
    return name.size() > 3 && name.size() <= 6 && _strnicmp(name.c_str(), "COM", 3) == 0 &&
           std::all_of(name.begin() + 3, name.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

struct System::Impl {
    Impl(std::vector<LineOptions> lineOptions, const std::string& controlFile)
        : options(std::move(lineOptions)),
          end(CreateEventA(nullptr, TRUE, FALSE, nullptr)),
          timer(makeTimer()),
          lines(options.size()) {
        for (std::size_t i = 0; i < options.size() && options.size() > 1; ++i) {
            if (options[i].pipe.empty()) {
                options[i].pipe = pipeName(options[i]) + "-" + std::to_string(i + 1);
            }
        }
        if (!controlFile.empty()) {
            control = Handle(CreateFileA(controlFile.c_str(), GENERIC_READ,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                         nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
            if (!control.isValid()) {
                throw std::runtime_error("cannot read the control file " + controlFile);
            }
        }
        endEvent = end.get();
        SetConsoleCtrlHandler(askToEnd, TRUE);
    }
    ~Impl() { SetConsoleCtrlHandler(askToEnd, FALSE); }

    void setTimer(TimePoint until) {
        using Ticks = std::chrono::duration<LONGLONG, std::ratio<1, 10'000'000>>;
        const auto rest = std::chrono::ceil<Ticks>(until - std::chrono::steady_clock::now());
        LARGE_INTEGER due{};
        due.QuadPart = -std::max<LONGLONG>(rest.count(), 0);  // negative: from now on
        SetWaitableTimer(timer.get(), &due, 0, nullptr, nullptr, FALSE);
    }

    std::string readControl() const {
        std::array<char, 4096> bytes{};
        DWORD count = 0;
        if (control.isValid()) {
            ReadFile(control.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &count,
                     nullptr);
        }
        return {bytes.data(), count};
    }

    /// What to wait for: the end, then the lines, then the rest.
    std::vector<HANDLE> waits(const std::vector<bool>& wantsWrite) {
        std::vector<HANDLE> handles{end.get()};
        for (const auto& line : lines) {
            if (line) {
                handles.push_back(line->readEvent());
            }
        }
        if (lines.size() == 1 && wantsWrite[0] && lines[0] && lines[0]->writeEvent() != nullptr) {
            handles.push_back(lines[0]->writeEvent());
        }
        if (keys.event() != nullptr) {
            handles.push_back(keys.event());
        }
        return handles;
    }

    /// Whether something happens that no handle signals.
    bool mustPoll(const std::vector<bool>& wantsWrite) const {
        const bool isBlocked =
            std::find(wantsWrite.begin(), wantsWrite.end(), true) != wantsWrite.end();
        const bool isTold = lines.size() == 1 && lines[0] && lines[0]->writeEvent() != nullptr;
        return (isBlocked && !isTold) || keys.mustBePolled() || control.isValid();
    }

    std::vector<LineOptions> options;
    Handle end;
    Handle timer;
    Handle control;
    Keys keys;
    bool isEndTold = false;
    std::vector<std::unique_ptr<Line>> lines;
};

void System::secureStandardStreams() {}  // handles are not numbers that could be reused

std::string System::check(const LineOptions& options) {
    if (!options.link.empty()) {
        return "--link is for pseudo-terminals; on Windows use --pipe";
    }
    if (!options.comPort.empty() && !options.pipe.empty()) {
        return "give --com or --pipe, not both";
    }
    if (options.pipe.size() > kMaxPipeName || options.pipe.find('\\') != std::string::npos) {
        return R"(--pipe takes a name without backslashes and of at most 200 characters; the host )"
               R"(opens \\.\pipe\NAME)";
    }
    return options.comPort.empty() || isComName(options.comPort)
               ? std::string()
               : "--com takes a port such as COM6, not '" + options.comPort + "'";
}

std::size_t System::maxLines() {
    constexpr std::size_t others = 4;  // the end, the keys, the timer and a write
    return MAXIMUM_WAIT_OBJECTS - others;
}

System::System(std::vector<LineOptions> lines, const std::string& controlFile)
    : impl_(std::make_unique<Impl>(std::move(lines), controlFile)) {}

System::~System() = default;

std::string System::plugIn(std::size_t line) {
    const LineOptions& options = impl_->options[line];
    auto& place = impl_->lines[line];
    if (options.comPort.empty()) {
        place = std::make_unique<NamedPipe>(pipeName(options));
    } else {
        place = std::make_unique<ComPort>(options.comPort);
    }
    return place->name();
}

void System::unplug(std::size_t line) {
    impl_->lines[line].reset();
}

bool System::isPlugged(std::size_t line) const {
    return impl_->lines[line] != nullptr;
}

std::size_t System::write(std::size_t line, ByteView bytes) {
    return isPlugged(line) ? impl_->lines[line]->write(bytes) : bytes.size();
}

System::Happening System::wait(std::optional<TimePoint> until,
                               const std::vector<bool>& wantsWrite) {
    if (impl_->mustPoll(wantsWrite)) {
        const TimePoint next = std::chrono::steady_clock::now() + kPollPeriod;
        until = until ? std::min(*until, next) : next;
    }
    std::vector<HANDLE> handles = impl_->waits(wantsWrite);
    if (until) {
        impl_->setTimer(*until);
        handles.push_back(impl_->timer.get());
    }
    WaitForMultipleObjects(static_cast<DWORD>(handles.size()), handles.data(), FALSE, INFINITE);

    Happening happening;
    happening.mustEnd = WaitForSingleObject(impl_->end.get(), 0) == WAIT_OBJECT_0;
    happening.received.resize(impl_->lines.size());
    for (std::size_t i = 0; i < impl_->lines.size(); ++i) {
        if (impl_->lines[i]) {
            impl_->lines[i]->read(happening.received[i]);
        }
    }
    happening.keys = impl_->keys.poll();
    happening.control = impl_->readControl();
    happening.inputEnded =
        impl_->keys.hasEnded() && !std::exchange(impl_->isEndTold, impl_->keys.hasEnded());
    return happening;
}

void System::say(std::string_view line) {
    std::string text(line);
    text += '\n';
    DWORD count = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text.data(), static_cast<DWORD>(text.size()), &count,
              nullptr);
}

}  // namespace vi

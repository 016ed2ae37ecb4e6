#include "System.h"

#include <windows.h>

#include <algorithm>
#include <array>

#include "win32/ComPort.h"
#include "win32/Handle.h"
#include "win32/Keys.h"
#include "win32/NamedPipe.h"

#ifndef CREATE_WAITABLE_TIMER_HIGH_RESOLUTION
#define CREATE_WAITABLE_TIMER_HIGH_RESOLUTION 0x00000002
#endif

namespace vi {
namespace {

/// Nothing signals that a pipe has keys, or that a full port accepts bytes again.
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
    explicit Impl(LineOptions lineOptions)
        : options(std::move(lineOptions)),
          end(CreateEventA(nullptr, TRUE, FALSE, nullptr)),
          timer(makeTimer()) {
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

    LineOptions options;
    Handle end;
    Handle timer;
    Keys keys;
    bool isEndTold = false;
    std::unique_ptr<Line> line;
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

System::System(LineOptions options) : impl_(std::make_unique<Impl>(std::move(options))) {}

System::~System() = default;

std::string System::plugIn() {
    const LineOptions& options = impl_->options;
    if (options.comPort.empty()) {
        impl_->line = std::make_unique<NamedPipe>(pipeName(options));
    } else {
        impl_->line = std::make_unique<ComPort>(options.comPort);
    }
    return impl_->line->name();
}

void System::unplug() {
    impl_->line.reset();
}

bool System::isPlugged() const {
    return impl_->line != nullptr;
}

std::size_t System::write(ByteView bytes) {
    return isPlugged() ? impl_->line->write(bytes) : bytes.size();
}

System::Happening System::wait(std::optional<TimePoint> until, bool wantsWrite) {
    const HANDLE writeEvent = wantsWrite && impl_->line ? impl_->line->writeEvent() : nullptr;
    if ((wantsWrite && writeEvent == nullptr) || impl_->keys.mustBePolled()) {
        const TimePoint next = std::chrono::steady_clock::now() + kPollPeriod;
        until = until ? std::min(*until, next) : next;
    }
    std::array<HANDLE, 5> handles{impl_->end.get()};
    DWORD count = 1;
    if (impl_->line) {
        handles[count++] = impl_->line->readEvent();
    }
    if (writeEvent != nullptr) {
        handles[count++] = writeEvent;
    }
    if (impl_->keys.event() != nullptr) {
        handles[count++] = impl_->keys.event();
    }
    if (until) {
        impl_->setTimer(*until);
        handles[count++] = impl_->timer.get();
    }
    WaitForMultipleObjects(count, handles.data(), FALSE, INFINITE);

    Happening happening;
    happening.mustEnd = WaitForSingleObject(impl_->end.get(), 0) == WAIT_OBJECT_0;
    if (impl_->line) {
        impl_->line->read(happening.received);
    }
    happening.keys = impl_->keys.poll();
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

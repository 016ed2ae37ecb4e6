#include "system/Interrupt.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <utility>

#include "Failure.h"
#include "system/Terminal.h"

namespace cqtool {
namespace {

// A signal handler can set a flag but not wake a thread, so the flag is polled this often.
constexpr std::chrono::milliseconds kLookInterval{20};

std::atomic<bool> hasHappened{false};
std::atomic<bool> mustEndProcess{false};
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void handleSignal(int signal) {
    std::signal(signal, SIG_DFL);
    hasHappened = true;
}

}  // namespace

void endProcess(ExitStatus status) {
    if (status == ExitStatus::interrupted) {
        std::cerr << kEndedByInterrupt;
    }
    std::cout.flush();
    std::cerr.flush();
    std::_Exit(static_cast<int>(status));
}

Interrupt::Interrupt() : watcher_([this] { watch(); }) {
    for (const int signal : endingSignals()) {
        // One that is ignored, as under nohup, stays so; but shells let programs in the background
        // ignore Ctrl-C, which then is sent to them on purpose.
        if (std::signal(signal, handleSignal) == SIG_IGN && signal != SIGINT) {
            std::signal(signal, SIG_IGN);
        }
    }
}

Interrupt::~Interrupt() {
    for (const int signal : endingSignals()) {
        std::signal(signal, SIG_DFL);
    }
    {
        const std::scoped_lock lock(mutex_);
        isEnding_ = true;
    }
    ending_.notify_all();
    watcher_.join();
}

bool Interrupt::happened() const noexcept {
    return hasHappened;
}

void Interrupt::throwIfHappened() const {
    if (happened()) {
        throw Interrupted{};
    }
}

void Interrupt::watch() {
    std::unique_lock lock(mutex_);
    while (!isEnding_ && !happened()) {
        ending_.wait_for(lock, kLookInterval);
    }
    if (happened()) {
        if (mustEndProcess) {
            endProcess(ExitStatus::interrupted);
        }
        for (const Action& action : actions_) {
            action();
        }
        haveActionsRun_ = true;
    }
}

Interrupt::EndsProcess::EndsProcess() {
    mustEndProcess = true;
    // Later the watcher sees both; earlier it may have looked already.
    if (hasHappened) {
        mustEndProcess = false;
        throw Interrupted{};
    }
}

Interrupt::EndsProcess::~EndsProcess() {
    mustEndProcess = false;
}

std::unique_ptr<Interrupt::Registration> Interrupt::onInterrupt(Action action) {
    const std::scoped_lock lock(mutex_);
    if (haveActionsRun_) {
        action();
    }
    actions_.push_back(std::move(action));
    return std::make_unique<Registration>(*this, std::prev(actions_.end()));
}

Interrupt::Registration::~Registration() {
    const std::scoped_lock lock(interrupt_.mutex_);
    interrupt_.actions_.erase(place_);
}

}  // namespace cqtool

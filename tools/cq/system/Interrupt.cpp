#include "system/Interrupt.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <iterator>
#include <utility>

#include "Failure.h"

namespace cqtool {
namespace {

// A signal handler can set a flag but not wake a thread, so the flag is polled this often.
constexpr std::chrono::milliseconds kLookInterval{20};

std::atomic<bool> hasHappened{false};
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void handleSignal(int signal) {
    std::signal(signal, SIG_DFL);
    hasHappened = true;
}

}  // namespace

Interrupt::Interrupt() : watcher_([this] { watch(); }) {
    std::signal(SIGINT, handleSignal);
    std::signal(SIGTERM, handleSignal);
}

Interrupt::~Interrupt() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
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
        for (const Action& action : actions_) {
            action();
        }
        haveActionsRun_ = true;
    }
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

#include "instrument/PortWatch.h"

#include <chrono>

#include "system/Terminal.h"

namespace cqtool {
namespace {

constexpr std::chrono::milliseconds kLookAtPortInterval{100};

}  // namespace

PortWatch::PortWatch(const std::string& port, CqHandle handle)
    : thread_([this, port, handle] { watch(port, handle); }) {}

PortWatch::~PortWatch() {
    {
        const std::scoped_lock lock(mutex_);
        isEnding_ = true;
    }
    ending_.notify_all();
    thread_.join();
}

void PortWatch::watch(const std::string& port, CqHandle handle) {
    if (!portExists(port)) {
        return;  // under another name than the system's: nothing can be told
    }
    std::unique_lock lock(mutex_);
    while (!ending_.wait_for(lock, kLookAtPortInterval, [this] { return isEnding_; })) {
        if (!portExists(port)) {
            hasGone_ = true;
            cqClose(handle);
            return;
        }
    }
}

}  // namespace cqtool

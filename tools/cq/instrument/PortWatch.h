#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "cqapi/CQApi.h"

namespace cqtool {

/// Looks whether the port of an open instrument is still there and closes the instrument when it has
/// gone, which ends a call that would wait for an answer until its time is over.
class PortWatch {
  public:
    PortWatch(const std::string& port, CqHandle handle);
    ~PortWatch();
    PortWatch(const PortWatch&) = delete;
    PortWatch& operator=(const PortWatch&) = delete;

    bool hasGone() const noexcept { return hasGone_; }

  private:
    void watch(const std::string& port, CqHandle handle);

    std::atomic<bool> hasGone_{false};
    std::mutex mutex_;
    std::condition_variable ending_;
    bool isEnding_ = false;
    std::thread thread_;
};

}  // namespace cqtool

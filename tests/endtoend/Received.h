#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

#include "endtoend/Wired.h"

namespace cqtest {

/// Gathers what a measurement callback is given.
class Received {
  public:
    using Measurement = std::pair<bool, CqMeasurementRecord>;

    /// To be registered as the callback, with the Received as its user pointer.
    static void callback(bool isStandard, const CqMeasurementRecord* record, void* user) {
        auto* const self = static_cast<Received*>(user);
        const std::lock_guard lock(self->mutex_);
        self->measurements_.emplace_back(isStandard, *record);
        self->arrived_.notify_all();
    }

    /// Waits until so many have come, and gives all that have.
    std::vector<Measurement> waitFor(std::size_t count) {
        std::unique_lock lock(mutex_);
        arrived_.wait_for(lock, std::chrono::seconds(10),
                          [&] { return measurements_.size() >= count; });
        return measurements_;
    }

  private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<Measurement> measurements_;
};

}  // namespace cqtest

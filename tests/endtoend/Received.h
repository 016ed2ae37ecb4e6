#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "endtoend/Wired.h"

namespace cqtest {

/// Gathers what a measurement callback is given.
class Received {
  public:
    using Measurement = std::pair<bool, CqMeasurementRecord>;

    void listenTo(CqHandle handle) {
        EXPECT_EQ(cqSetMeasurementResultReceivedCallback(handle, &callback, this), CQ_NO_ERROR);
    }

    /// The callback, whose user pointer is a Received.
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

/// The user data of a callback that asks for the port's name and removes itself.
struct CalledOnce {
    CqHandle handle;
    std::string port;
    std::atomic<int> calls{0};

    static void callback(bool, const CqMeasurementRecord*, void* user) {
        auto& self = *static_cast<CalledOnce*>(user);
        char name[256] = {};
        cqGetPortName(self.handle, name, sizeof(name) - 1);
        cqSetMeasurementResultReceivedCallback(self.handle, nullptr, nullptr);
        self.port = name;
        ++self.calls;
    }
};

/// Presses three times: each measurement comes once, in its order, and as the instrument keeps it;
/// one that is asked for does not come.
inline void expectPressed(VirtualInstrument& instrument, CqHandle handle, Received& received) {
    CqMeasurementRecord asked;
    ASSERT_EQ(cqMeasureStandard(handle, &asked), CQ_NO_ERROR);
    instrument.pressStandard();
    instrument.pressTrial();
    instrument.pressStandard();
    const auto measurements = received.waitFor(3);
    ASSERT_EQ(measurements.size(), 3U);
    EXPECT_TRUE(measurements[0].first);
    EXPECT_FALSE(measurements[1].first);
    EXPECT_TRUE(measurements[2].first);

    CqMeasurementRecord stored[2];
    ASSERT_EQ(cqUploadStandards(handle, stored, 0, 2), CQ_NO_ERROR);
    EXPECT_EQ(measurements[0].second, stored[0]);
    EXPECT_EQ(measurements[2].second, stored[1]);
    EXPECT_EQ(received.waitFor(3).size(), 3U);
}

}  // namespace cqtest

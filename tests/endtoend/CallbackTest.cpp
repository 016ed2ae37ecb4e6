// Measurements started with the instrument's own button.

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <mutex>
#include <thread>

#include "endtoend/Received.h"

namespace cqtest {
namespace {

/// None while a measurement that comes in stands in the way.
std::uint32_t countStandards(CqHandle handle) {
    std::uint32_t count = 0;
    cqGetTotalStandards(handle, &count);
    return count;
}

TEST(Callback, ReceivesPressedMeasurementsWhileRequestsRun) {
    constexpr std::size_t kPresses = 40;
    Received received;
    Wired wired("--calibrated");
    received.listenTo(wired.handle);
    std::atomic<bool> isDone{false};
    std::atomic<int> requests{0};
    std::thread host([&] {
        while (!isDone) {
            CqInstrumentStatus status;
            const std::uint32_t code = cqGetInstrumentStatus(wired.handle, &status);
            // A transfer of the instrument's may stand in the way; the host asks again.
            EXPECT_TRUE(code == CQ_NO_ERROR || code == CQ_DEVICE_IS_BUSY) << code;
            ++requests;
        }
    });
    for (std::size_t press = 1; press <= kPresses; ++press) {
        press % 2 == 0 ? wired.instrument.pressTrial() : wired.instrument.pressStandard();
        EXPECT_EQ(received.waitFor(press).size(), press);
    }
    isDone = true;
    host.join();
    EXPECT_GT(requests, 10);
    const auto measurements = received.waitFor(kPresses);
    EXPECT_EQ(measurements.size(), kPresses);
    for (std::size_t i = 0; i < measurements.size(); ++i) {
        EXPECT_EQ(measurements[i].first, i % 2 == 0) << i;
    }
}

TEST(Callback, RemovedOrReplacedCallbackIsNotCalledAnyMore) {
    Received first;
    Received second;
    Wired wired("--calibrated");
    first.listenTo(wired.handle);
    wired.instrument.pressStandard();
    ASSERT_EQ(first.waitFor(1).size(), 1U);

    second.listenTo(wired.handle);
    wired.instrument.pressTrial();
    ASSERT_EQ(second.waitFor(1).size(), 1U);

    ASSERT_EQ(cqSetMeasurementResultReceivedCallback(wired.handle, nullptr, nullptr), CQ_NO_ERROR);
    wired.instrument.pressStandard();
    // The instrument stores the measurement once the library has taken it.
    EXPECT_TRUE(waitUntil([&] { return countStandards(wired.handle) == 2; }));
    EXPECT_EQ(first.waitFor(1).size(), 1U);
    EXPECT_EQ(second.waitFor(1).size(), 1U);
}

TEST(Callback, MayAskForThePortAndRemoveItself) {
    Wired wired("--calibrated");
    CalledOnce user{wired.handle, {}};
    ASSERT_EQ(cqSetMeasurementResultReceivedCallback(wired.handle, &CalledOnce::callback, &user),
              CQ_NO_ERROR);
    wired.instrument.pressStandard();
    wired.instrument.pressStandard();
    EXPECT_TRUE(waitUntil([&] { return countStandards(wired.handle) == 2 && user.calls > 0; }));
    EXPECT_EQ(user.calls, 1);
    EXPECT_EQ(user.port, wired.instrument.portName());
}

// Each waits for what the other holds. The call gives up in its time, and all goes on.
TEST(Callback, ThatIsHeldUpLetsACallEndInItsTime) {
    struct Host {
        std::mutex lock;
        std::promise<void> entered;
        static void callback(bool, const CqMeasurementRecord*, void* user) {
            auto& host = *static_cast<Host*>(user);
            host.entered.set_value();
            const std::lock_guard guard(host.lock);
        }
    } host;
    Wired wired("--calibrated");
    cqSetMeasurementResultReceivedCallback(wired.handle, &Host::callback, &host);
    {
        const std::lock_guard guard(host.lock);
        wired.instrument.pressStandard();
        host.entered.get_future().wait();
        CqInstrumentStatus status;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(cqGetInstrumentStatus(wired.handle, &status), CQ_SENDING_TIMEOUT);
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    }
    // The instrument has given its transfer up meanwhile, which may end the call that comes next.
    EXPECT_TRUE(waitUntil([&] { return countStandards(wired.handle) == 1; }));
}

}  // namespace
}  // namespace cqtest

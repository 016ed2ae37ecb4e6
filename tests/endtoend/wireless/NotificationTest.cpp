// Measurements started with a wireless instrument's own button.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "endtoend/Received.h"
#include "endtoend/wireless/Wireless.h"

namespace cqtest {
namespace {

std::uint32_t setCallback(CqHandle handle, Received& received) {
    return cqSetMeasurementResultReceivedCallback(handle, &Received::callback, &received);
}

/// Presses, waits until the notification has gone out, and gives the library time to take it.
void pressUnheard(Wireless& wireless) {
    const std::size_t before = wireless.adapter.lineLog().size();
    wireless.adapter.pressStandard();
    EXPECT_TRUE(wireless.adapter.waitUntilLogged("host < notification", before));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
}

TEST(Notification, ReachesTheCallbackThatIsSet) {
    Received first;
    Received second;
    Wireless wireless("--calibrated");
    ASSERT_EQ(setCallback(wireless.handle, first), CQ_NO_ERROR);
    wireless.adapter.pressStandard();
    wireless.adapter.pressTrial();
    wireless.adapter.pressStandard();
    const auto measurements = first.waitFor(3);
    ASSERT_EQ(measurements.size(), 3U);
    EXPECT_TRUE(measurements[0].first);
    EXPECT_FALSE(measurements[1].first);
    EXPECT_TRUE(measurements[2].first);
    CqMeasurementRecord stored[2];
    ASSERT_EQ(cqUploadStandards(wireless.handle, stored, 0, 2), CQ_NO_ERROR);
    EXPECT_EQ(measurements[0].second, stored[0]) << "the instrument keeps what it has sent";
    EXPECT_EQ(measurements[2].second, stored[1]);

    ASSERT_EQ(setCallback(wireless.handle, second), CQ_NO_ERROR);
    wireless.adapter.pressTrial();
    EXPECT_EQ(second.waitFor(1).size(), 1U);
    ASSERT_EQ(cqSetMeasurementResultReceivedCallback(wireless.handle, nullptr, nullptr),
              CQ_NO_ERROR);
    pressUnheard(wireless);

    CqMeasurementRecord record;
    ASSERT_EQ(setCallback(wireless.handle, second), CQ_NO_ERROR);
    EXPECT_EQ(cqMeasureStandard(wireless.handle, &record), CQ_NO_ERROR);
    EXPECT_EQ(first.waitFor(3).size(), 3U);
    EXPECT_EQ(second.waitFor(1).size(), 1U) << "what was asked for is no notification";
}

/// The button is pressed while a request waits for its reply, which must get that and nothing else.
TEST(Notification, KeepsApartFromTheRepliesToAnotherThread) {
    constexpr std::uint32_t kRounds = 6;
    Received received;
    Wireless wireless("--calibrated --fault ble-late:300");
    ASSERT_EQ(setCallback(wireless.handle, received), CQ_NO_ERROR);
    std::atomic<std::uint32_t> asking{0};
    std::thread host([&] {
        for (std::uint32_t round = 0; round < kRounds; ++round) {
            std::uint32_t count = 99;
            asking = round + 1;
            EXPECT_EQ(cqGetTotalStandards(wireless.handle, &count), CQ_NO_ERROR);
            EXPECT_EQ(count, round);
            EXPECT_EQ(received.waitFor(round + 1).size(), round + 1);
        }
    });
    for (std::uint32_t round = 1; round <= kRounds; ++round) {
        while (asking < round) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        wireless.adapter.pressStandard();
    }
    host.join();
    for (const auto& measurement : received.waitFor(kRounds)) {
        EXPECT_TRUE(measurement.first);
    }
}

TEST(Notification, CallbackMayAskForThePortAndRemoveItself) {
    struct State {
        CqHandle handle = nullptr;
        std::string port;
        std::atomic<int> calls{0};
    };
    State state;
    Wireless wireless("--calibrated");
    state.handle = wireless.handle;
    ASSERT_EQ(cqSetMeasurementResultReceivedCallback(
                  wireless.handle,
                  [](bool, const CqMeasurementRecord*, void* user) {
                      auto* const inside = static_cast<State*>(user);
                      char name[256] = {};
                      cqGetPortName(inside->handle, name, sizeof(name) - 1);
                      cqSetMeasurementResultReceivedCallback(inside->handle, nullptr, nullptr);
                      inside->port = name;
                      ++inside->calls;
                  },
                  &state),
              CQ_NO_ERROR);
    pressUnheard(wireless);
    pressUnheard(wireless);
    EXPECT_EQ(state.calls, 1);
    EXPECT_EQ(state.port, wireless.adapter.portName());
}

}  // namespace
}  // namespace cqtest

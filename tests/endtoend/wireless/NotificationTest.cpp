// Measurements started with a wireless instrument's own button.

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "endtoend/Received.h"
#include "endtoend/wireless/Wireless.h"

namespace cqtest {
namespace {

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
    first.listenTo(wireless.handle);
    expectPressed(wireless.adapter, wireless.handle, first);

    second.listenTo(wireless.handle);
    wireless.adapter.pressTrial();
    EXPECT_EQ(second.waitFor(1).size(), 1U);
    ASSERT_EQ(cqSetMeasurementResultReceivedCallback(wireless.handle, nullptr, nullptr),
              CQ_NO_ERROR);
    pressUnheard(wireless);
    EXPECT_EQ(first.waitFor(3).size(), 3U);
    EXPECT_EQ(second.waitFor(1).size(), 1U);
}

/// The button is pressed while a request waits for its reply, which must get that and nothing else.
TEST(Notification, KeepsApartFromTheRepliesToAnotherThread) {
    constexpr std::uint32_t kRounds = 3;
    Received received;
    Wireless wireless("--calibrated --fault ble-late:300");
    received.listenTo(wireless.handle);
    std::size_t before = wireless.adapter.lineLog().size();
    std::thread host([&] {
        for (std::uint32_t round = 0; round < kRounds; ++round) {
            EXPECT_EQ(totalStandards(wireless.handle), round);
            EXPECT_EQ(received.waitFor(round + 1).size(), round + 1);
        }
    });
    for (std::uint32_t round = 1; round <= kRounds; ++round) {
        EXPECT_TRUE(wireless.adapter.waitUntilLogged("host > request", before));
        before = wireless.adapter.lineLog().size();
        wireless.adapter.pressStandard();
    }
    host.join();
    for (const auto& measurement : received.waitFor(kRounds)) {
        EXPECT_TRUE(measurement.first);
    }
}

TEST(Notification, CallbackMayAskForThePortAndRemoveItself) {
    Wireless wireless("--calibrated");
    CalledOnce user{wireless.handle, {}};
    ASSERT_EQ(cqSetMeasurementResultReceivedCallback(wireless.handle, &CalledOnce::callback, &user),
              CQ_NO_ERROR);
    pressUnheard(wireless);
    pressUnheard(wireless);
    EXPECT_EQ(user.calls, 1);
    EXPECT_EQ(user.port, wireless.adapter.portName());
}

}  // namespace
}  // namespace cqtest

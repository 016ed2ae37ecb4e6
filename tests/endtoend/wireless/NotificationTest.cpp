// Measurements started with a wireless instrument's own button.

#include <gtest/gtest.h>

#include <chrono>
#include <future>
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

/// The button is pressed while a request waits for its reply, which must get that and nothing else. A
/// machine with much else to do may read both at once, and two packets in one read are none: then the
/// request has no reply, and another round counts.
TEST(Notification, KeepsApartFromTheRepliesToAnotherThread) {
    Received received;
    Wireless wireless("--calibrated --fault ble-late:300");
    received.listenTo(wireless.handle);
    int answered = 0;
    for (std::uint32_t pressed = 0; answered < 3 && pressed < 9; ++pressed) {
        const std::size_t heard = received.waitFor(0).size();
        const std::size_t logged = wireless.adapter.lineLog().size();
        std::uint32_t count = 99;
        auto asked = std::async(std::launch::async,
                                [&] { return cqGetTotalStandards(wireless.handle, &count); });
        EXPECT_TRUE(wireless.adapter.waitUntilLogged("host > request", logged));
        wireless.adapter.pressStandard();
        const std::uint32_t code = asked.get();
        if (code == CQ_RECEIVING_TIMEOUT) {
            continue;
        }
        ++answered;
        ASSERT_EQ(code, CQ_NO_ERROR);
        EXPECT_EQ(count, pressed);
        EXPECT_GT(received.waitFor(heard + 1).size(), heard);
    }
    EXPECT_EQ(answered, 3);
    for (const auto& measurement : received.waitFor(3)) {
        EXPECT_TRUE(measurement.first);
    }
}

}  // namespace
}  // namespace cqtest

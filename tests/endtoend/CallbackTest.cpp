// Measurements started with the instrument's own button.

#include <gtest/gtest.h>

#include <atomic>
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

TEST(Callback, ReceivesPressedMeasurementsOnceAndInOrder) {
    Received received;
    Wired wired("--calibrated");
    received.listenTo(wired.handle);
    expectPressed(wired.instrument, wired.handle, received);
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

// Not allowed, but it must not bring the host down.
TEST(Callback, ClosingItsOwnHandleDoesNotHang) {
    struct State {
        CqHandle handle;
        Received received;
    };
    VirtualInstrument instrument("--calibrated");
    State state{cqOpen(instrument.portName()), {}};
    ASSERT_NE(state.handle, nullptr);
    cqSetMeasurementResultReceivedCallback(
        state.handle,
        [](bool isStandard, const CqMeasurementRecord* record, void* user) {
            auto* const inside = static_cast<State*>(user);
            cqClose(inside->handle);
            Received::callback(isStandard, record, &inside->received);
        },
        &state);
    instrument.pressStandard();
    EXPECT_EQ(state.received.waitFor(1).size(), 1U);
    EXPECT_FALSE(cqIsValidHandle(state.handle));

    const Handle again(instrument.portName());
    EXPECT_NE(static_cast<CqHandle>(again), nullptr) << "the port was let go";
}

}  // namespace
}  // namespace cqtest

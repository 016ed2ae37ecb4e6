// Measurements started with the instrument's own button.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "endtoend/Received.h"

namespace cqtest {
namespace {

std::uint32_t setCallback(CqHandle handle, Received& received) {
    return cqSetMeasurementResultReceivedCallback(handle, &Received::callback, &received);
}

/// None while a measurement that comes in stands in the way.
std::uint32_t countStandards(CqHandle handle) {
    std::uint32_t count = 0;
    cqGetTotalStandards(handle, &count);
    return count;
}

TEST(Callback, ReceivesPressedMeasurementsOnceAndInOrder) {
    Received received;
    Wired wired("--calibrated");
    ASSERT_EQ(setCallback(wired.handle, received), CQ_NO_ERROR);
    wired.instrument.pressStandard();
    wired.instrument.pressTrial();
    wired.instrument.pressStandard();

    const auto measurements = received.waitFor(3);
    ASSERT_EQ(measurements.size(), 3U);
    EXPECT_TRUE(measurements[0].first);
    EXPECT_FALSE(measurements[1].first);
    EXPECT_TRUE(measurements[2].first);

    CqMeasurementRecord stored[2];
    ASSERT_EQ(cqUploadStandards(wired.handle, stored, 0, 2), CQ_NO_ERROR);
    EXPECT_EQ(measurements[0].second, stored[0]) << "the instrument keeps what it has sent";
    EXPECT_EQ(measurements[2].second, stored[1]);
    EXPECT_EQ(received.waitFor(3).size(), 3U);
}

TEST(Callback, ReceivesPressedMeasurementsWhileRequestsRun) {
    constexpr std::size_t kPresses = 40;
    Received received;
    Wired wired("--calibrated");
    ASSERT_EQ(setCallback(wired.handle, received), CQ_NO_ERROR);
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
    ASSERT_EQ(measurements.size(), kPresses);
    for (std::size_t i = 0; i < kPresses; ++i) {
        EXPECT_EQ(measurements[i].first, i % 2 == 0) << i;
    }
}

TEST(Callback, RemovedOrReplacedCallbackIsNotCalledAnyMore) {
    Received first;
    Received second;
    Wired wired("--calibrated");
    ASSERT_EQ(setCallback(wired.handle, first), CQ_NO_ERROR);
    wired.instrument.pressStandard();
    ASSERT_EQ(first.waitFor(1).size(), 1U);

    ASSERT_EQ(setCallback(wired.handle, second), CQ_NO_ERROR);
    wired.instrument.pressTrial();
    ASSERT_EQ(second.waitFor(1).size(), 1U);

    ASSERT_EQ(cqSetMeasurementResultReceivedCallback(wired.handle, nullptr, nullptr), CQ_NO_ERROR);
    wired.instrument.pressStandard();
    // The instrument stores the measurement once the library has taken it.
    EXPECT_TRUE(waitUntil([&] { return countStandards(wired.handle) == 2; }));
    EXPECT_EQ(first.waitFor(1).size(), 1U);
    EXPECT_EQ(second.waitFor(1).size(), 1U);
}

TEST(Callback, MeasurementAskedForIsNotDeliveredTwice) {
    Received received;
    Wired wired("--calibrated");
    ASSERT_EQ(setCallback(wired.handle, received), CQ_NO_ERROR);
    CqMeasurementRecord record;
    ASSERT_EQ(cqMeasureStandard(wired.handle, &record), CQ_NO_ERROR);
    wired.instrument.pressTrial();
    const auto measurements = received.waitFor(1);
    ASSERT_EQ(measurements.size(), 1U);
    EXPECT_FALSE(measurements[0].first);
}

TEST(Callback, MayReplaceAndRemoveItself) {
    struct State {
        CqHandle handle;
        std::atomic<int> calls{0};
    };
    Wired wired("--calibrated");
    State state{wired.handle};
    ASSERT_EQ(cqSetMeasurementResultReceivedCallback(
                  wired.handle,
                  [](bool, const CqMeasurementRecord*, void* user) {
                      auto* const inside = static_cast<State*>(user);
                      cqSetMeasurementResultReceivedCallback(inside->handle, nullptr, nullptr);
                      ++inside->calls;
                  },
                  &state),
              CQ_NO_ERROR);
    wired.instrument.pressStandard();
    wired.instrument.pressStandard();
    EXPECT_TRUE(waitUntil([&] { return countStandards(wired.handle) == 2 && state.calls > 0; }));
    EXPECT_EQ(state.calls, 1);
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

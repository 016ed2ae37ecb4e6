// Several threads, several instruments.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "endtoend/Wired.h"
#include "peer/AtOnce.h"
#include "peer/WaitUntil.h"

namespace cqtest {
namespace {

using Clock = std::chrono::steady_clock;

TEST(Threads, CallsOnSeveralInstrumentsRunInParallel) {
    constexpr std::size_t kInstruments = 4;
    constexpr auto kMeasureTime = std::chrono::milliseconds(400);
    std::vector<std::unique_ptr<Wired>> all;
    for (std::size_t i = 0; i < kInstruments; ++i) {
        all.push_back(std::make_unique<Wired>("--calibrated --measure-time 400"));
    }
    const auto start = Clock::now();
    atOnce(kInstruments, [&](std::size_t i) {
        CqMeasurementRecord record;
        EXPECT_EQ(cqMeasureStandard(all[i]->handle, &record), CQ_NO_ERROR);
    });
    const auto taken = Clock::now() - start;
    EXPECT_GE(taken, kMeasureTime);
    EXPECT_LT(taken, 3 * kMeasureTime) << "one after another they would take 4 times as long";
}

TEST(Threads, CloseWhileACallWaitsEndsTheCallWithACode) {
    VirtualInstrument instrument("--calibrated --measure-time 3000");
    const auto waiting = [&] { EXPECT_TRUE(instrument.waitUntilLogged("measure")); };
    EXPECT_EQ(closeWhileMeasuring(cqOpen(instrument.portName()), waiting), CQ_DEVICE_IS_CLOSED);
}

TEST(Threads, SecondRequestTakesThePlaceOfTheFirstWhichEndsWithACode) {
    Wired wired("--calibrated --measure-time 3000");
    std::atomic<std::uint32_t> first{99};
    std::thread caller([&] {
        CqMeasurementRecord record;
        first = cqMeasureStandard(wired.handle, &record);
    });
    EXPECT_TRUE(wired.instrument.waitUntilLogged("measure"));
    // The acknowledgement may still be on its way: until then the link is busy.
    std::uint32_t count = 99;
    EXPECT_TRUE(
        waitUntil([&] { return cqGetTotalStandards(wired.handle, &count) != CQ_DEVICE_IS_BUSY; }));
    EXPECT_EQ(count, 0U);
    caller.join();
    EXPECT_EQ(first, CQ_DEVICE_IS_BUSY);
}

TEST(Threads, RequestsFromManyThreadsAllEndAndNeverWithForeignData) {
    Wired wired("--standards 5 --samples 9");
    std::atomic<int> answered{0};
    atOnce(4, [&](std::size_t thread) {
        const bool asksStandards = thread % 2 == 0;
        for (int round = 0; round < 200; ++round) {
            std::uint32_t count = 0;
            const std::uint32_t code = asksStandards ? cqGetTotalStandards(wired.handle, &count)
                                                     : cqGetTotalSamples(wired.handle, &count);
            if (code == CQ_NO_ERROR) {
                EXPECT_EQ(count, asksStandards ? 5U : 9U);
                ++answered;
            } else {
                EXPECT_EQ(code, CQ_DEVICE_IS_BUSY);
            }
        }
    });
    EXPECT_GT(answered, 0);
}

}  // namespace
}  // namespace cqtest

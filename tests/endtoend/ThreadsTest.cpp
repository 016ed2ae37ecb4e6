// Several threads, several instruments.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "endtoend/Wired.h"

namespace cqtest {
namespace {

using Clock = std::chrono::steady_clock;

TEST(Threads, CallsOnSeveralInstrumentsRunInParallel) {
    constexpr int kInstruments = 4;
    constexpr auto kMeasureTime = std::chrono::milliseconds(400);
    std::vector<std::unique_ptr<Wired>> all;
    for (int i = 0; i < kInstruments; ++i) {
        all.push_back(std::make_unique<Wired>("--calibrated --measure-time 400"));
    }
    const auto start = Clock::now();
    std::vector<std::thread> threads;
    for (auto& wired : all) {
        threads.emplace_back([&wired] {
            CqMeasurementRecord record;
            EXPECT_EQ(cqMeasureStandard(wired->handle, &record), CQ_NO_ERROR);
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    const auto taken = Clock::now() - start;
    EXPECT_GE(taken, kMeasureTime);
    EXPECT_LT(taken, 3 * kMeasureTime) << "one after another they would take 4 times as long";
}

TEST(Threads, CloseWhileACallWaitsEndsTheCallWithACode) {
    VirtualInstrument instrument("--calibrated --measure-time 3000");
    const CqHandle handle = cqOpen(instrument.portName());
    ASSERT_NE(handle, nullptr);
    std::atomic<std::uint32_t> code{99};
    std::thread caller([&] {
        CqMeasurementRecord record;
        code = cqMeasureStandard(handle, &record);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const auto start = Clock::now();
    cqClose(handle);
    caller.join();
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(2));
    EXPECT_EQ(code, CQ_DEVICE_IS_CLOSED);
    EXPECT_FALSE(cqIsValidHandle(handle));
}

TEST(Threads, SecondRequestTakesThePlaceOfTheFirstWhichEndsWithACode) {
    Wired wired("--calibrated --measure-time 1000");
    std::atomic<std::uint32_t> first{99};
    std::thread caller([&] {
        CqMeasurementRecord record;
        first = cqMeasureStandard(wired.handle, &record);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    std::uint32_t count = 1;
    EXPECT_EQ(cqGetTotalStandards(wired.handle, &count), CQ_NO_ERROR);
    EXPECT_EQ(count, 0U);
    caller.join();
    EXPECT_EQ(first, CQ_DEVICE_IS_BUSY);
}

TEST(Threads, RequestsFromManyThreadsAllEndAndNeverWithForeignData) {
    Wired wired("--standards 5 --samples 9");
    std::atomic<int> answered{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (int round = 0; round < 200; ++round) {
                std::uint32_t count = 0;
                const bool asksStandards = thread % 2 == 0;
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
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_GT(answered, 0);
}

TEST(Threads, ManyThreadsMayCloseTheSameHandle) {
    const VirtualInstrument instrument;
    for (int round = 0; round < 10; ++round) {
        const CqHandle handle = cqOpen(instrument.portName());
        ASSERT_NE(handle, nullptr) << "round " << round;
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([handle] { cqClose(handle); });
        }
        for (auto& thread : threads) {
            thread.join();
        }
        EXPECT_FALSE(cqIsValidHandle(handle));
    }
}

}  // namespace
}  // namespace cqtest

// The instrument is pulled out. (Wine tells a closed pseudo-terminal by another error than Windows
// a removed device, so this is tested natively.)

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <chrono>
#include <thread>

#include "endtoend/Wired.h"

namespace cqtest {
namespace {

using Clock = std::chrono::steady_clock;

double processorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

std::uint32_t callUntilItFails(CqHandle handle) {
    std::uint32_t code = CQ_NO_ERROR;
    const auto deadline = Clock::now() + std::chrono::seconds(20);
    while (code == CQ_NO_ERROR && Clock::now() < deadline) {
        std::uint32_t count = 0;
        code = cqGetTotalStandards(handle, &count);
    }
    return code;
}

TEST(Removal, CallsSayThatThePortIsGoneAndAnIdleHandleCostsNoProcessor) {
    Wired wired;
    wired.instrument.unplug();
    const std::uint32_t code = callUntilItFails(wired.handle);
    EXPECT_TRUE(code == CQ_DEVICE_IS_CLOSED || code == CQ_SENDING_TIMEOUT) << code;
    std::uint32_t count = 0;
    EXPECT_EQ(cqGetTotalStandards(wired.handle, &count), CQ_DEVICE_IS_CLOSED);
    EXPECT_TRUE(cqIsValidHandle(wired.handle));

    const double before = processorSeconds();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    EXPECT_LT(processorSeconds() - before, 0.05);
}

TEST(Removal, InstrumentThatComesBackIsOpenedAgain) {
    Wired wired("--calibrated");
    wired.instrument.unplug();
    EXPECT_NE(callUntilItFails(wired.handle), CQ_NO_ERROR);
    wired.handle.close();
    wired.instrument.plugIn();
    CqHandle again = nullptr;
    waitUntil([&] {
        again = cqOpen(wired.instrument.portName());
        return again != nullptr;
    });
    ASSERT_NE(again, nullptr);
    CqMeasurementRecord record;
    EXPECT_EQ(cqMeasureStandard(again, &record), CQ_NO_ERROR);
    cqClose(again);
}

}  // namespace
}  // namespace cqtest

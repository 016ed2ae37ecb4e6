// What a wireless session takes of the process, and what a host leaves behind that is killed or
// whose adapter is pulled out.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <iterator>

#include "endtoend/wireless/Wireless.h"

namespace cqtest {
namespace {

namespace fs = std::filesystem;

struct Resources {
    std::ptrdiff_t threads;
    std::ptrdiff_t descriptors;

    static Resources now() { return {entries("/proc/self/task"), entries("/proc/self/fd")}; }
    friend bool operator==(const Resources&, const Resources&) = default;

  private:
    static std::ptrdiff_t entries(const char* folder) {
        return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
    }
};

void PrintTo(const Resources& resources, std::ostream* stream) {
    *stream << resources.threads << " threads, " << resources.descriptors << " descriptors";
}

TEST(WirelessResources, AreAllGivenBack) {
    const Adapter adapter("--calibrated");
    // A first time without counting: sanitizers start a thread of their own with the first one.
    cqClose(cqOpenByBleDongle(adapter.portName(), kFirstAddress));
    const Resources before = Resources::now();
    for (int round = 0; round < 5; ++round) {
        const Handle handle(adapter.portName(), kFirstAddress);
        CqMeasurementRecord record;
        ASSERT_EQ(cqMeasureStandard(handle, &record), CQ_NO_ERROR) << "round " << round;
        EXPECT_GT(Resources::now().descriptors, before.descriptors);
    }
    // The system may show a thread for a moment after it was joined.
    waitUntil([&] { return Resources::now() == before; }, std::chrono::seconds(1));
    EXPECT_EQ(Resources::now(), before);
}

TEST(WirelessResources, SessionOfAKilledHostIsNoObstacle) {
    const Adapter adapter("--calibrated");
    const pid_t host = fork();
    ASSERT_GE(host, 0);
    if (host == 0) {
        CqMeasurementRecord record;
        const CqHandle handle = cqOpenByBleDongle(adapter.portName(), kFirstAddress);
        _exit(cqMeasureStandard(handle, &record) == CQ_NO_ERROR ? 0 : 1);  // without a goodbye
    }
    int status = -1;
    ASSERT_EQ(waitpid(host, &status, 0), host);
    ASSERT_EQ(status, 0) << "the host has measured";
    EXPECT_EQ(adapter.lineLog().find("(goodbye)"), std::string::npos);

    const Handle handle(adapter.portName(), kFirstAddress);
    CqMeasurementRecord record;
    EXPECT_EQ(cqMeasureStandard(handle, &record), CQ_NO_ERROR);
}

TEST(WirelessResources, AdapterPulledOutIsToldAndOpenedAgain) {
    Wireless wireless("--fault unplug:3");
    std::uint32_t count = 99;
    EXPECT_EQ(cqGetTotalStandards(wireless.handle, &count), CQ_NO_ERROR);
    std::uint32_t code = cqGetTotalStandards(wireless.handle, &count);
    EXPECT_TRUE(code == CQ_DEVICE_IS_CLOSED || code == CQ_RECEIVING_TIMEOUT) << code;
    EXPECT_EQ(cqGetTotalStandards(wireless.handle, &count), CQ_DEVICE_IS_CLOSED);
    EXPECT_TRUE(cqIsValidHandle(wireless.handle));
    wireless.handle.close();

    wireless.adapter.plugIn();
    CqHandle again = nullptr;
    waitUntil([&] {
        again = cqOpenByBleDongle(wireless.adapter.portName(), kFirstAddress);
        return again != nullptr;
    });
    EXPECT_EQ(cqGetTotalStandards(again, &count), CQ_NO_ERROR);
    cqClose(again);
}

}  // namespace
}  // namespace cqtest

// The adapter of a wireless instrument is pulled out at any packet of any operation, and while the
// instrument is being opened.

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "endtoend/wireless/Wireless.h"
#include "reliability/posix/RemovalBench.h"

namespace cqtest {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

CqHandle openFirst(const char* portName) {
    return cqOpenByBleDongle(portName, kFirstAddress);
}

const Reach kWireless{"--adapter --at-delay 2 --calibrated --standards 6 --samples 6",
                      &openFirst,
                      " host > request",
                      1,
                      {CQ_DEVICE_IS_CLOSED, CQ_RECEIVING_TIMEOUT, CQ_SYSTEM_ERROR}};

std::uint32_t deleteStandard(CqHandle handle) {
    return cqDeleteStandard(handle, 0);
}

TEST(WirelessRemoval, AtEveryPacketEndsEveryCallInItsTime) {
    pullAtEveryPacket(kWireless, {{"device information", &deviceInfo, 2s},
                                  {"status", &status, 2s},
                                  {"calibrate white", &cqCalibrateWhite, 10s},
                                  {"measure", &measureTrial, 8s},
                                  {"count samples", &countSamples, 2s},
                                  {"upload standards", &uploadStandards, 2s},
                                  {"download standards", &downloadStandards, 2s},
                                  {"read white board", &readWhiteBoard, 2s},
                                  {"delete standard", &deleteStandard, 10s}});
}

/// Pulls the adapter so long after the opening began.
void pullWhileOpening(std::chrono::milliseconds after) {
    SCOPED_TRACE(std::to_string(after.count()) + " ms after the opening began");
    VirtualInstrument adapter("--adapter --at-delay 50");
    std::thread puller([&adapter, after] {
        std::this_thread::sleep_for(after);
        adapter.unplug();
    });
    const auto start = Clock::now();
    const CqHandle handle = openFirst(adapter.portName());
    EXPECT_LT(Clock::now() - start, 8s);
    puller.join();
    if (handle != nullptr) {
        std::uint32_t count = 0;
        EXPECT_EQ(cqGetTotalStandards(handle, &count), CQ_DEVICE_IS_CLOSED);
        cqClose(handle);
    }
    adapter.plugIn();
    const CqHandle again = openOnReturn(kWireless, adapter);
    EXPECT_NE(again, nullptr);
    EXPECT_EQ(countSamples(again), CQ_NO_ERROR);
    cqClose(again);
}

TEST(WirelessRemoval, DuringTheOpeningEndsIt) {
    std::vector<std::thread> threads;
    for (const auto after : {20ms, 80ms, 150ms, 250ms, 350ms, 450ms, 700ms, 1500ms}) {
        threads.emplace_back(&pullWhileOpening, after);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
}  // namespace cqtest

// The wired instrument is pulled out at any packet of any operation, and while it is being opened.

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "reliability/posix/RemovalBench.h"

namespace cqtest {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

const Reach kWired{"--calibrated --standards 6 --samples 6",
                   &cqOpen,
                   " host > ",
                   2,
                   {CQ_DEVICE_IS_CLOSED, CQ_SENDING_TIMEOUT}};

std::uint32_t uploadAllSamples(CqHandle handle) {
    CqMeasurementRecord records[6];
    return cqUploadSamples(handle, records, 0, 4, CQ_ALL_RECORDS);
}

std::uint32_t writeWhiteBoard(CqHandle handle) {
    const CqWhiteBoardParameter parameter{};
    return cqSetWhiteBoardParameter(handle, &parameter);
}

std::uint32_t readParameter(CqHandle handle) {
    std::uint32_t value = 0;
    return cqGetMeasurementParameter(handle, 7, &value);
}

std::uint32_t writeParameter(CqHandle handle) {
    return cqSetMeasurementParameter(handle, 7, 1);
}

std::uint32_t deleteStandard(CqHandle handle) {
    return cqDeleteStandard(handle, 0);
}

std::uint32_t deleteSample(CqHandle handle) {
    return cqDeleteSample(handle, 0, 0);
}

TEST(WiredRemoval, AtEveryPacketEndsEveryCallInItsTime) {
    pullAtEveryPacket(kWired, {{"device information", &deviceInfo, 5s},
                               {"status", &status, 5s},
                               {"calibrate white", &cqCalibrateWhite, 15s},
                               {"calibrate black", &cqCalibrateBlack, 15s},
                               {"measure", &measureTrial, 15s},
                               {"count samples", &countSamples, 5s},
                               {"upload standards", &uploadStandards, 5s + kRecords * 50ms},
                               {"upload all samples", &uploadAllSamples, 5s},
                               {"download standards", &downloadStandards, 5s},
                               {"read white board", &readWhiteBoard, 5s},
                               {"write white board", &writeWhiteBoard, 5s},
                               {"read parameter", &readParameter, 5s},
                               {"write parameter", &writeParameter, 5s},
                               {"delete standard", &deleteStandard, 5s},
                               {"delete sample", &deleteSample, 5s},
                               {"delete all", &cqDeleteAllRecords, 30s}});
}

TEST(WiredRemoval, DuringTheOpeningEndsIt) {
    for (const int packet : {1, 2}) {
        VirtualInstrument instrument("--fault unplug:" + std::to_string(packet));
        const auto start = Clock::now();
        const CqHandle handle = cqOpen(instrument.portName());
        EXPECT_LT(Clock::now() - start, 2s) << "packet " << packet;
        // The second packet confirms the session: the host may have one by then.
        EXPECT_TRUE(handle == nullptr || packet == 2);
        cqClose(handle);
        instrument.plugIn();
        const CqHandle again = openOnReturn(kWired, instrument);
        ASSERT_NE(again, nullptr) << "packet " << packet;
        EXPECT_EQ(status(again), CQ_NO_ERROR);
        cqClose(again);
    }
}

}  // namespace
}  // namespace cqtest

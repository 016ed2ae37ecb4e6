// Replies of a wireless instrument that come in pieces or late. (What every fault does to every
// operation is the fault matrix's to try.)

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "endtoend/wireless/Wireless.h"

namespace cqtest {
namespace {

TEST(WirelessFault, RepliesInPiecesCostNothing) {
    for (const char* options : {"--fault ble-split", "--fault at-split", "--line-rate 115200",
                                "--at-delay 40 --latency 5"}) {
        SCOPED_TRACE(options);
        Wireless wireless(std::string("--calibrated --standards 2 ") + options);
        CqMeasurementRecord measured;
        EXPECT_EQ(cqMeasureStandard(wireless.handle, &measured), CQ_NO_ERROR);
        const auto written = numberedRecords(3);
        EXPECT_EQ(cqDownloadStandards(wireless.handle, written.data(), 3), CQ_NO_ERROR);
        std::vector<CqMeasurementRecord> read(3);
        EXPECT_EQ(cqUploadStandards(wireless.handle, read.data(), 2, CQ_ALL_RECORDS), CQ_NO_ERROR);
        EXPECT_EQ(read, written);
    }
}

TEST(WirelessFault, LateReplyIsATimeOutInItsTime) {
    Wireless wireless("--fault ble-late:1750");
    CqMeasurementRecord record;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(cqUploadStandards(wireless.handle, &record, 0, 1), CQ_RECEIVING_TIMEOUT);
    const auto taken = std::chrono::steady_clock::now() - start;
    EXPECT_GE(taken, std::chrono::milliseconds(990));
    EXPECT_LT(taken, std::chrono::milliseconds(1600));
    std::this_thread::sleep_for(std::chrono::milliseconds(1200));  // it has come meanwhile
    EXPECT_EQ(totalStandards(wireless.handle), 0U) << "its own reply, not the late one";
}

}  // namespace
}  // namespace cqtest

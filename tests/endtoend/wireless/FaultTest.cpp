// What the adapter, the link or a wireless instrument may do wrong, and what must survive it: a
// reply that comes in pieces costs nothing; a refusal, a damaged or a missing reply gives its code;
// a damaged record is never taken for a whole one; and afterwards the handle works again, or a new
// one does.

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "endtoend/wireless/Wireless.h"

namespace cqtest {
namespace {

using Clock = std::chrono::steady_clock;

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

/// What each call answers when the instrument refuses, or answers with a payload too short.
TEST(WirelessFault, RefusalsAndDamagedRepliesGiveTheirCodes) {
    // The hello is packet 1, the calls below are packets 2 to 12.
    struct Case {
        const char* fault;
        std::uint32_t answered;  // by the calls whose replies get the common check
        std::uint32_t calibrated;
        std::uint32_t counted;
    };
    const Case cases[] = {
        {"ble-fail", CQ_EXECUTE_COMMAND_FAILED, CQ_EXECUTE_COMMAND_FAILED,
         CQ_EXECUTE_COMMAND_FAILED},
        {"ble-inval", CQ_INVALID_PARAMETER, CQ_EXECUTE_COMMAND_FAILED, CQ_INVALID_PARAMETER},
        {"ble-length", CQ_NO_ERROR, CQ_EXECUTE_COMMAND_FAILED, CQ_INVALID_PACKET},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fault);
        std::string options = "--calibrated --standards 2 --samples 2";
        for (int packet = 2; packet <= 12; ++packet) {
            options += std::string(" --fault ") + c.fault + ":" + std::to_string(packet);
        }
        Wireless wireless(options);
        const CqHandle handle = wireless.handle;
        CqMeasurementRecord record = numberedRecord(1);
        std::uint32_t count = 99;
        CqInstrumentStatus status;
        CqWhiteBoardParameter board{};
        EXPECT_EQ(cqCalibrateWhite(handle), c.calibrated);
        EXPECT_EQ(cqMeasureStandard(handle, &record), CQ_EXECUTE_COMMAND_FAILED);
        EXPECT_EQ(cqGetTotalStandards(handle, &count), c.counted);
        EXPECT_EQ(cqGetTotalSamples(handle, &count), c.counted);
        EXPECT_EQ(cqUploadStandards(handle, &record, 0, 1), c.counted);
        EXPECT_EQ(cqUploadSamples(handle, &record, 0, 0, 1), c.counted);
        EXPECT_EQ(cqGetInstrumentStatus(handle, &status), c.counted);
        const CqMeasurementRecord sent = numberedRecord(2);
        EXPECT_EQ(cqDownloadStandards(handle, &sent, 1), c.answered);
        EXPECT_EQ(cqDeleteStandard(handle, 0), c.answered);
        EXPECT_EQ(cqDeleteSample(handle, 0, 0), c.answered);
        EXPECT_EQ(cqSetWhiteBoardParameter(handle, &board), c.answered);
        EXPECT_EQ(count, 99U);
        EXPECT_EQ(record, numberedRecord(1)) << "failures write nothing";
        EXPECT_EQ(cqGetTotalStandards(handle, &count), CQ_NO_ERROR) << "the next one works";
    }
}

/// Asks for a record that is there until it comes, leaving the line quiet behind a failure, and
/// gives the code of the first attempt.
std::uint32_t uploadUntilItWorks(CqHandle handle, CqMeasurementRecord& record) {
    std::uint32_t first = CQ_NO_ERROR;
    const auto deadline = Clock::now() + std::chrono::seconds(10);
    for (std::uint32_t code = 99; code != CQ_NO_ERROR && Clock::now() < deadline;) {
        code = cqUploadStandards(handle, &record, 1, 1);
        first = first == CQ_NO_ERROR ? code : first;
        if (code != CQ_NO_ERROR) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1100));
        }
    }
    return first;
}

TEST(WirelessFault, ReplyThatIsTornOrJoinedTimesOutAndIsNeverTakenForAWholeOne) {
    // The download is packets 2 and 3; then comes the record that is damaged.
    for (const char* fault : {"--fault ble-pause:4", "--fault ble-joined:4"}) {
        SCOPED_TRACE(fault);
        Wireless wireless(fault);
        const auto written = numberedRecords(2);
        ASSERT_EQ(cqDownloadStandards(wireless.handle, written.data(), 2), CQ_NO_ERROR);
        CqMeasurementRecord record = numberedRecord(0xDEAD);
        EXPECT_EQ(uploadUntilItWorks(wireless.handle, record), CQ_RECEIVING_TIMEOUT);
        EXPECT_EQ(record, written[1]);
    }
}

TEST(WirelessFault, LateReplyIsATimeOutInItsTime) {
    Wireless wireless("--fault ble-late:1750");
    CqMeasurementRecord record;
    const auto start = Clock::now();
    EXPECT_EQ(cqUploadStandards(wireless.handle, &record, 0, 1), CQ_RECEIVING_TIMEOUT);
    const auto taken = Clock::now() - start;
    EXPECT_GE(taken, std::chrono::milliseconds(990));
    EXPECT_LT(taken, std::chrono::milliseconds(1600));
    std::this_thread::sleep_for(std::chrono::milliseconds(1200));  // it has come meanwhile
    std::uint32_t count = 99;
    EXPECT_EQ(cqGetTotalStandards(wireless.handle, &count), CQ_NO_ERROR);
    EXPECT_EQ(count, 0U) << "its own reply, not the late one";
}

TEST(WirelessFault, LinkThatEndsIsATimeOutAndTheInstrumentIsOpenedAgain) {
    Wireless wireless("--fault link-drop:2");
    std::uint32_t count = 99;
    EXPECT_EQ(cqGetTotalStandards(wireless.handle, &count), CQ_NO_ERROR);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(cqGetTotalStandards(wireless.handle, &count), CQ_RECEIVING_TIMEOUT);
    wireless.handle.close();

    const Handle again(wireless.adapter.portName(), kFirstAddress);
    EXPECT_EQ(cqGetTotalStandards(again, &count), CQ_NO_ERROR);
}

}  // namespace
}  // namespace cqtest

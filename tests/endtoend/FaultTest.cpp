// What an instrument or a line may do wrong, and what must survive it: a disturbed packet costs a
// repetition and nothing else; a refusal or an interruption gives its code; a damaged record is
// never taken for a whole one; and afterwards the handle works again, or a new one does.

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "endtoend/Received.h"

namespace cqtest {
namespace {

using Clock = std::chrono::steady_clock;

struct Fault {
    std::string name;
    std::string options;
};

void PrintTo(const Fault& fault, std::ostream* stream) {
    *stream << fault.name;
}

std::string nameOf(const testing::TestParamInfo<Fault>& info) {
    return info.param.name;
}

/// Faults of the line that the protocol repairs.
class RepairedFault : public testing::TestWithParam<Fault> {};

TEST_P(RepairedFault, CostsNothing) {
    Wired wired(GetParam().options);
    wired.calibrate();
    CqMeasurementRecord measured;
    ASSERT_EQ(cqMeasureTrial(wired.handle, &measured), CQ_NO_ERROR);

    const auto written = numberedRecords(12);
    ASSERT_EQ(cqDownloadStandards(wired.handle, written.data(), 12), CQ_NO_ERROR);
    std::vector<CqMeasurementRecord> read(12);
    ASSERT_EQ(cqUploadStandards(wired.handle, read.data(), 0, 12), CQ_NO_ERROR);
    EXPECT_EQ(read, written);
}

INSTANTIATE_TEST_SUITE_P(
    Each, RepairedFault,
    testing::Values(
        Fault{"badCrc", "--fault bad-crc:5"}, Fault{"badCrcAtFirst", "--fault bad-crc:1"},
        Fault{"duplicate", "--fault duplicate:9"},
        Fault{"duplicateAcknowledgement", "--fault duplicate:2"},
        Fault{"wrongSequence", "--fault wrong-sequence:7"}, Fault{"garbage", "--fault garbage"},
        Fault{"oneByte", "--fault one-byte"}, Fault{"retransmit", "--fault retransmit:2"},
        Fault{"slowLine", "--line-rate 921600 --latency 0.5"},
        Fault{"severalAtOnce", "--fault garbage:3 --fault bad-crc:8 --fault retransmit:1"}),
    nameOf);

TEST(Fault, ReplyAbortedByTheInstrumentIsAFailureAndTheNextOneWorks) {
    for (const std::string code : {"0", "258", "65535"}) {
        Wired wired("--calibrated --standards 3 --fault abort-reply:" + code);
        CqMeasurementRecord record = numberedRecord(1);
        EXPECT_EQ(cqMeasureStandard(wired.handle, &record), CQ_EXECUTE_COMMAND_FAILED) << code;
        EXPECT_EQ(cqUploadStandards(wired.handle, &record, 0, 1), CQ_EXECUTE_COMMAND_FAILED)
            << code;
        EXPECT_EQ(record, numberedRecord(1));
        EXPECT_EQ(cqCalibrateWhite(wired.handle), CQ_NO_ERROR);
    }
}

TEST(Fault, RefusedCalibrationNeverLooksLikeSuccess) {
    for (const std::string code : {"0", "1", "258", "65535"}) {
        Wired wired("--fault abort-send:" + code);
        EXPECT_EQ(cqCalibrateWhite(wired.handle), CQ_EXECUTE_COMMAND_FAILED) << code;
        EXPECT_EQ(cqCalibrateBlack(wired.handle), CQ_EXECUTE_COMMAND_FAILED) << code;
    }
}

TEST(Fault, AbortedPressedMeasurementNeverReachesTheCallback) {
    Received received;
    Wired wired("--calibrated --fault abort-reply:1");
    ASSERT_EQ(cqSetMeasurementResultReceivedCallback(wired.handle, &Received::callback, &received),
              CQ_NO_ERROR);
    wired.instrument.pressStandard();
    ASSERT_TRUE(wired.instrument.waitUntilLogged(" abort 0x0001"));
    // The abort goes over the line before the answer, and so has been taken in by then.
    EXPECT_EQ(onceFree([&] { return cqCalibrateWhite(wired.handle); }), CQ_NO_ERROR);
    cqSetMeasurementResultReceivedCallback(wired.handle, nullptr, nullptr);
    EXPECT_TRUE(received.waitFor(0).empty());
}

TEST(Fault, SilentInstrumentEndsTheCallInItsTime) {
    // It answers the shake-hands and takes the confirmation, and then nothing more.
    Wired wired("--fault silence:2");
    const auto start = Clock::now();
    std::uint32_t count = 0;
    EXPECT_EQ(cqGetTotalStandards(wired.handle, &count), CQ_SENDING_TIMEOUT);
    const auto taken = Clock::now() - start;
    EXPECT_GE(taken, std::chrono::milliseconds(4990));
    EXPECT_LT(taken, std::chrono::seconds(7));
}

TEST(Fault, LostAcknowledgementIsTimeOutOrRepaired) {
    // The instrument may send what it knows to be unanswered again; if it does not, time runs out.
    Wired wired("--fault lost-ack:2");
    std::uint32_t count = 7;
    EXPECT_EQ(cqGetTotalStandards(wired.handle, &count), CQ_NO_ERROR);
    const std::uint32_t code = cqGetTotalStandards(wired.handle, &count);
    EXPECT_TRUE(code == CQ_NO_ERROR || code == CQ_SENDING_TIMEOUT) << code;
    wired.handle.close();

    const Handle again(wired.instrument.portName());
    EXPECT_EQ(cqGetTotalStandards(again, &count), CQ_NO_ERROR);
}

}  // namespace
}  // namespace cqtest

// What an instrument or a line may do wrong, and what must survive it: a disturbed packet costs a
// repetition and nothing else, and a refusal gives its code whatever its number. (What every fault
// does to every operation is the fault matrix's to try.)

#include <gtest/gtest.h>

#include <string>

#include "endtoend/Wired.h"

namespace cqtest {
namespace {

TEST(Fault, OfTheLineIsRepaired) {
    for (const char* options :
         {"--fault bad-crc:5", "--fault bad-crc:1", "--fault duplicate:9", "--fault duplicate:2",
          "--fault wrong-sequence:7", "--fault garbage", "--fault one-byte", "--fault retransmit:2",
          "--line-rate 921600 --latency 0.5",
          "--fault garbage:3 --fault bad-crc:8 --fault retransmit:1"}) {
        SCOPED_TRACE(options);
        Wired wired(options);
        wired.calibrate();
        CqMeasurementRecord measured;
        EXPECT_EQ(cqMeasureTrial(wired.handle, &measured), CQ_NO_ERROR);

        const auto written = numberedRecords(12);
        EXPECT_EQ(cqDownloadStandards(wired.handle, written.data(), 12), CQ_NO_ERROR);
        std::vector<CqMeasurementRecord> read(12);
        EXPECT_EQ(cqUploadStandards(wired.handle, read.data(), 0, 12), CQ_NO_ERROR);
        EXPECT_EQ(read, written);
    }
}

TEST(Fault, RefusalNeverLooksLikeSuccessAndTheNextCallWorks) {
    for (const std::string code : {"0", "1", "258", "65535"}) {
        SCOPED_TRACE(code);
        Wired replying("--calibrated --standards 3 --fault abort-reply:" + code);
        CqMeasurementRecord record = numberedRecord(1);
        EXPECT_EQ(cqMeasureStandard(replying.handle, &record), CQ_EXECUTE_COMMAND_FAILED);
        EXPECT_EQ(cqUploadStandards(replying.handle, &record, 0, 1), CQ_EXECUTE_COMMAND_FAILED);
        EXPECT_EQ(record, numberedRecord(1));
        EXPECT_EQ(cqCalibrateWhite(replying.handle), CQ_NO_ERROR);

        Wired refusing("--fault abort-send:" + code);
        EXPECT_EQ(cqCalibrateWhite(refusing.handle), CQ_EXECUTE_COMMAND_FAILED);
        EXPECT_EQ(cqCalibrateBlack(refusing.handle), CQ_EXECUTE_COMMAND_FAILED);
    }
}

}  // namespace
}  // namespace cqtest

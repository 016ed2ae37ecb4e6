// Stored records: what goes in comes out, byte for byte, at every packet size.

#include <gtest/gtest.h>

#include "endtoend/Wired.h"

namespace cqtest {
namespace {

using Records = std::vector<CqMeasurementRecord>;

Records uploadStandards(CqHandle handle, std::uint32_t first, std::uint32_t count,
                        std::size_t room) {
    Records records(room, numberedRecord(0xDEAD));
    EXPECT_EQ(cqUploadStandards(handle, records.data(), first, count), CQ_NO_ERROR);
    return records;
}

struct Transfer {
    int maxPacket;
    std::uint32_t records;
};

void PrintTo(const Transfer& transfer, std::ostream* stream) {
    *stream << transfer.records << " records in packets of " << transfer.maxPacket;
}

class RecordTransfer : public testing::TestWithParam<Transfer> {};

TEST_P(RecordTransfer, BringsStandardsThereAndBackByteForByte) {
    Wired wired("--max-packet " + std::to_string(GetParam().maxPacket));
    const std::uint32_t count = GetParam().records;
    const Records written = numberedRecords(count);
    ASSERT_EQ(cqDownloadStandards(wired.handle, written.data(), count - 3), CQ_NO_ERROR);
    ASSERT_EQ(cqDownloadStandards(wired.handle, written.data() + count - 3, 3), CQ_NO_ERROR);

    std::uint32_t stored = 0;
    ASSERT_EQ(cqGetTotalStandards(wired.handle, &stored), CQ_NO_ERROR);
    EXPECT_EQ(stored, count);
    EXPECT_EQ(uploadStandards(wired.handle, 0, CQ_ALL_RECORDS, count), written);
    EXPECT_EQ(uploadStandards(wired.handle, 2, 3, 3),
              Records(written.begin() + 2, written.begin() + 5));
    EXPECT_EQ(uploadStandards(wired.handle, count - 1, CQ_ALL_RECORDS, 1),
              Records(written.end() - 1, written.end()));
}

// 13 leaves room for one byte of payload; 268 carries a record, but not with an operation code.
INSTANTIATE_TEST_SUITE_P(AtPacketSize, RecordTransfer,
                         testing::Values(Transfer{13, 6}, Transfer{64, 150}, Transfer{268, 150},
                                         Transfer{1024, 300}, Transfer{65535, 600}));

TEST(Records, UploadOfNothingWritesNothing) {
    Wired wired("--standards 3");
    EXPECT_EQ(uploadStandards(wired.handle, 0, 0, 1), Records(1, numberedRecord(0xDEAD)));
    EXPECT_EQ(uploadStandards(wired.handle, 3, CQ_ALL_RECORDS, 1),
              Records(1, numberedRecord(0xDEAD)));
    EXPECT_EQ(uploadStandards(wired.handle, 9, CQ_ALL_RECORDS, 1),
              Records(1, numberedRecord(0xDEAD)));
}

TEST(Records, UploadBeyondTheEndLeavesTheRestOfTheArray) {
    Wired wired("--standards 3");
    const Records all = uploadStandards(wired.handle, 0, 3, 3);
    const Records records = uploadStandards(wired.handle, 1, 5, 5);
    EXPECT_EQ(records[0], all[1]);
    EXPECT_EQ(records[1], all[2]);
    EXPECT_EQ(records[2], numberedRecord(0xDEAD));
}

TEST(Records, UploadedSamplesAreFollowedByZeros) {
    Wired wired("--standards 2 --samples 3");
    std::uint32_t count = 0;
    ASSERT_EQ(cqGetTotalSamples(wired.handle, &count), CQ_NO_ERROR);
    ASSERT_EQ(count, 3U);
    count = 0;
    ASSERT_EQ(cqGetSampleCount(wired.handle, 0, &count), CQ_NO_ERROR);
    EXPECT_EQ(count, 3U);

    Records some(6, numberedRecord(0xDEAD));
    ASSERT_EQ(cqUploadSamples(wired.handle, some.data(), 0, 0, 5), CQ_NO_ERROR);
    EXPECT_NE(some[2], CqMeasurementRecord{});
    EXPECT_EQ(some[3], CqMeasurementRecord{});
    EXPECT_EQ(some[4], CqMeasurementRecord{});
    EXPECT_EQ(some[5], numberedRecord(0xDEAD)) << "beyond what was asked for";

    Records all(4, numberedRecord(0xDEAD));
    ASSERT_EQ(cqUploadSamples(wired.handle, all.data(), 0, 1, CQ_ALL_RECORDS), CQ_NO_ERROR);
    EXPECT_EQ(all[0], some[1]);
    EXPECT_EQ(all[1], some[2]);
    EXPECT_EQ(all[2], numberedRecord(0xDEAD)) << "two samples follow the first";
}

TEST(Records, DownloadBeyondCapacityIsRefusedAndChangesNothing) {
    Wired wired("--capacity 10 --standards 8");
    const Records written = numberedRecords(3);
    EXPECT_EQ(cqDownloadStandards(wired.handle, written.data(), 3), CQ_NO_ENOUGH_STORAGE);
    std::uint32_t count = 0;
    ASSERT_EQ(cqGetTotalStandards(wired.handle, &count), CQ_NO_ERROR);
    EXPECT_EQ(count, 8U);
    EXPECT_EQ(cqDownloadStandards(wired.handle, written.data(), 2), CQ_NO_ERROR);
}

TEST(Records, DeletingRemovesTheRecordThatWasNamed) {
    Wired wired;
    const Records written = numberedRecords(4);
    ASSERT_EQ(cqDownloadStandards(wired.handle, written.data(), 4), CQ_NO_ERROR);
    ASSERT_EQ(cqDeleteStandard(wired.handle, 1), CQ_NO_ERROR);
    EXPECT_EQ(uploadStandards(wired.handle, 0, CQ_ALL_RECORDS, 3),
              (Records{written[0], written[2], written[3]}));
    EXPECT_EQ(cqDeleteStandard(wired.handle, 3), CQ_EXECUTE_COMMAND_FAILED);

    ASSERT_EQ(cqDeleteAllRecords(wired.handle), CQ_NO_ERROR);
    std::uint32_t count = 1;
    ASSERT_EQ(cqGetTotalStandards(wired.handle, &count), CQ_NO_ERROR);
    EXPECT_EQ(count, 0U);
}

TEST(Records, DeletingASampleLeavesTheOthers) {
    Wired wired("--standards 1 --samples 3");
    Records before(3);
    ASSERT_EQ(cqUploadSamples(wired.handle, before.data(), 0, 0, 3), CQ_NO_ERROR);
    ASSERT_EQ(cqDeleteSample(wired.handle, 0, 0), CQ_NO_ERROR);
    Records after(3);
    ASSERT_EQ(cqUploadSamples(wired.handle, after.data(), 0, 0, 3), CQ_NO_ERROR);
    EXPECT_EQ(after, (Records{before[1], before[2], CqMeasurementRecord{}}));
}

}  // namespace
}  // namespace cqtest

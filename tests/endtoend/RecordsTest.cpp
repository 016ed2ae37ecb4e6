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

// 13 leaves room for one byte of payload; 268 carries a record, but not with an operation code.
TEST(Records, ComeBackByteForByteAtEveryPacketSize) {
    const std::pair<const char*, std::uint32_t> cases[] = {
        {"13", 6}, {"64", 150}, {"268", 150}, {"1024", 300}, {"65535", 600}};
    for (const auto& [maxPacket, count] : cases) {
        SCOPED_TRACE(maxPacket);
        Wired wired(std::string("--max-packet ") + maxPacket);
        const Records written = numberedRecords(count);
        ASSERT_EQ(cqDownloadStandards(wired.handle, written.data(), count - 3), CQ_NO_ERROR);
        ASSERT_EQ(cqDownloadStandards(wired.handle, written.data() + count - 3, 3), CQ_NO_ERROR);

        EXPECT_EQ(totalStandards(wired.handle), count);
        EXPECT_EQ(uploadStandards(wired.handle, 0, CQ_ALL_RECORDS, count), written);
        EXPECT_EQ(uploadStandards(wired.handle, 2, 3, 3),
                  Records(written.begin() + 2, written.begin() + 5));
        EXPECT_EQ(uploadStandards(wired.handle, count - 1, CQ_ALL_RECORDS, 1),
                  Records(written.end() - 1, written.end()));
    }
}

TEST(Records, UploadedSamplesAreFollowedByZeros) {
    Wired wired("--standards 2 --samples 3");
    std::uint32_t count = 0;
    ASSERT_EQ(cqGetTotalSamples(wired.handle, &count), CQ_NO_ERROR);
    ASSERT_EQ(count, 3U);
    count = 0;
    ASSERT_EQ(cqGetSampleCount(wired.handle, 0, &count), CQ_NO_ERROR);
    EXPECT_EQ(count, 3U);

    const CqMeasurementRecord zeros{};
    const CqMeasurementRecord untouched = numberedRecord(0xDEAD);
    Records some(6, untouched);
    ASSERT_EQ(cqUploadSamples(wired.handle, some.data(), 0, 0, 5), CQ_NO_ERROR);
    EXPECT_NE(some[2], zeros);
    EXPECT_EQ(some, (Records{some[0], some[1], some[2], zeros, zeros, untouched}));

    Records all(3, untouched);
    ASSERT_EQ(cqUploadSamples(wired.handle, all.data(), 0, 1, CQ_ALL_RECORDS), CQ_NO_ERROR);
    EXPECT_EQ(all, (Records{some[1], some[2], untouched})) << "two samples follow the first";
}

}  // namespace
}  // namespace cqtest

// The commands of a wireless instrument, through the exports and over a link. (What each sends, and what
// comes of each reply, is tested with the driver.)

#include <gtest/gtest.h>

#include <algorithm>

#include "endtoend/wireless/Wireless.h"

namespace cqtest {
namespace {

TEST(WirelessCommands, TellOfTheInstrument) {
    Wireless wireless("", R"([{"name": "other", "address": "00", "rssi": -1},
        {"name": "this", "address": "c4be84a1b2c3", "rssi": -80, "serial": "W-4711",
         "calibrated": true, "standards": 2, "samples": 5}])");
    char name[256] = {};
    EXPECT_EQ(cqGetPortName(wireless.handle, name, sizeof(name) - 1), CQ_NO_ERROR);
    EXPECT_STREQ(name, wireless.adapter.portName());
    EXPECT_EQ(serialOf(wireless.handle), "W-4711");
    // Three of the samples are those of the first standard.
    for (const auto& [standard, expected] : {std::pair{0U, 3U}, {1U, 2U}, {CQ_ALL_RECORDS, 5U}}) {
        std::uint32_t count = 99;
        EXPECT_EQ(cqGetSampleCount(wireless.handle, standard, &count), CQ_NO_ERROR);
        EXPECT_EQ(count, expected);
    }

    // The text is written; of the blocks the instrument gets an address and nothing else.
    CqWhiteBoardParameter before{};
    ASSERT_EQ(cqGetWhiteBoardParameter(wireless.handle, &before), CQ_NO_ERROR);
    const CqWhiteBoardParameter written{"TILE-7 of 15 ch", {}, {}, {}};
    ASSERT_EQ(cqSetWhiteBoardParameter(wireless.handle, &written), CQ_NO_ERROR);
    CqWhiteBoardParameter after = before;
    ASSERT_EQ(cqGetWhiteBoardParameter(wireless.handle, &after), CQ_NO_ERROR);
    EXPECT_STREQ(after.text, written.text);
    EXPECT_EQ(std::memcmp(after.firstBlock, before.firstBlock, 248), 0);

    const std::string log = wireless.adapter.lineLog();
    std::uint32_t value = 99;
    EXPECT_EQ(cqGetMeasurementParameter(wireless.handle, 1, &value), CQ_NOT_SUPPORTED);
    EXPECT_EQ(value, 0U);
    EXPECT_EQ(cqSetMeasurementParameter(wireless.handle, 1, 2), CQ_NOT_SUPPORTED);
    EXPECT_EQ(wireless.adapter.lineLog(), log) << "no traffic";
}

TEST(WirelessCommands, MeasureAndStore) {
    Wireless wireless("--measure-time 100 --capacity 12");
    CqMeasurementRecord record = numberedRecord(1);
    EXPECT_EQ(cqMeasureTrial(wireless.handle, &record), CQ_EXECUTE_COMMAND_FAILED);
    EXPECT_EQ(record, numberedRecord(1)) << "a refusal leaves the record as it was";
    EXPECT_EQ(cqCalibrateWhite(wireless.handle), CQ_NO_ERROR);
    EXPECT_EQ(cqCalibrateBlack(wireless.handle), CQ_NO_ERROR);
    EXPECT_EQ(cqMeasureTrial(wireless.handle, &record), CQ_NO_ERROR);
    EXPECT_EQ(record.bytes[6], 1) << "a trial's, in the virtual instrument's own layout";

    const auto written = numberedRecords(12);
    ASSERT_EQ(cqDownloadStandards(wireless.handle, written.data(), 10), CQ_NO_ERROR);
    std::vector<CqMeasurementRecord> read(12, numberedRecord(0xDEAD));
    ASSERT_EQ(cqUploadStandards(wireless.handle, read.data(), 0, CQ_ALL_RECORDS), CQ_NO_ERROR);
    EXPECT_TRUE(std::equal(read.begin(), read.begin() + 10, written.begin()));
    EXPECT_EQ(read[10], numberedRecord(0xDEAD));
    EXPECT_EQ(cqUploadStandards(wireless.handle, read.data(), 9, 2), CQ_INVALID_PARAMETER);
    EXPECT_EQ(read[0], written[0]) << "a failure writes nothing";
    EXPECT_EQ(cqDeleteStandard(wireless.handle, 0), CQ_NO_ERROR);
    ASSERT_EQ(cqUploadStandards(wireless.handle, read.data(), 0, 1), CQ_NO_ERROR);
    EXPECT_EQ(read[0], written[1]);

    // Room for three is left: what fits before the refusal is stored.
    EXPECT_EQ(cqDownloadStandards(wireless.handle, written.data(), 4), CQ_EXECUTE_COMMAND_FAILED);
    EXPECT_EQ(totalStandards(wireless.handle), 12U);
    EXPECT_EQ(cqDeleteAllRecords(wireless.handle), CQ_NO_ERROR);
    EXPECT_EQ(totalStandards(wireless.handle), 0U);
}

}  // namespace
}  // namespace cqtest

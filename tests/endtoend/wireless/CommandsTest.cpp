// Every command of a wireless instrument, through the exports and over a link.

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "endtoend/wireless/Wireless.h"

namespace cqtest {
namespace {

std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

void expectPortName(const Wireless& wireless) {
    char name[256] = {};
    EXPECT_EQ(cqGetPortName(wireless.handle, name, sizeof(name) - 1), CQ_NO_ERROR);
    EXPECT_STREQ(name, wireless.adapter.portName());
}

/// The text is written; of the blocks the instrument gets an address and nothing else.
void expectWhiteBoard(const Wireless& wireless) {
    CqWhiteBoardParameter before{};
    ASSERT_EQ(cqGetWhiteBoardParameter(wireless.handle, &before), CQ_NO_ERROR);
    CqWhiteBoardParameter written{"TILE-7 of 15 ch", {}, {}, {}};
    std::iota(std::begin(written.firstBlock), std::end(written.firstBlock), std::uint8_t{1});
    ASSERT_EQ(cqSetWhiteBoardParameter(wireless.handle, &written), CQ_NO_ERROR);
    EXPECT_NE(wireless.adapter.lineLog().find("(write white board) payload=8"), std::string::npos);

    CqWhiteBoardParameter after = before;
    ASSERT_EQ(cqGetWhiteBoardParameter(wireless.handle, &after), CQ_NO_ERROR);
    EXPECT_STREQ(after.text, written.text);
    EXPECT_EQ(std::memcmp(after.firstBlock, before.firstBlock, 248), 0);

    std::memset(written.text, 'x', sizeof(written.text));  // without a NUL: a byte too long
    EXPECT_EQ(cqSetWhiteBoardParameter(wireless.handle, &written), CQ_INVALID_PARAMETER);
}

void expectNoMeasurementParameters(const Wireless& wireless) {
    const std::string before = wireless.adapter.lineLog();
    std::uint32_t value = 99;
    EXPECT_EQ(cqGetMeasurementParameter(wireless.handle, 1, &value), CQ_NOT_SUPPORTED);
    EXPECT_EQ(value, 0U);
    EXPECT_EQ(cqSetMeasurementParameter(wireless.handle, 1, 2), CQ_NOT_SUPPORTED);
    EXPECT_EQ(wireless.adapter.lineLog(), before) << "no traffic";
}

TEST(WirelessCommands, TellOfTheInstrument) {
    Wireless wireless("", R"([{"name": "other", "address": "00", "rssi": -1},
        {"name": "this", "address": "c4be84a1b2c3", "rssi": -80, "serial": "W-4711",
         "calibrated": true, "standards": 2}])");
    expectPortName(wireless);
    EXPECT_EQ(serialOf(wireless.handle), "W-4711");
    expectWhiteBoard(wireless);
    expectNoMeasurementParameters(wireless);
}

TEST(WirelessCommands, CalibrateAndMeasure) {
    Wireless wireless("--measure-time 100");
    CqMeasurementRecord record = numberedRecord(1);
    EXPECT_EQ(cqMeasureStandard(wireless.handle, &record), CQ_EXECUTE_COMMAND_FAILED);
    EXPECT_EQ(cqCalibrateWhite(wireless.handle), CQ_NO_ERROR);
    EXPECT_EQ(cqMeasureTrial(wireless.handle, &record), CQ_EXECUTE_COMMAND_FAILED);
    EXPECT_EQ(record, numberedRecord(1)) << "a refusal leaves the record as it was";
    EXPECT_EQ(cqCalibrateBlack(wireless.handle), CQ_NO_ERROR);

    CqMeasurementRecord standard;
    ASSERT_EQ(cqMeasureStandard(wireless.handle, &standard), CQ_NO_ERROR);
    ASSERT_EQ(cqMeasureTrial(wireless.handle, &record), CQ_NO_ERROR);
    constexpr std::size_t kKind = 6;  // the virtual instrument's own layout
    EXPECT_EQ(standard.bytes[kKind], 0);
    EXPECT_EQ(record.bytes[kKind], 1);
    EXPECT_NE(standard, record);

    CqInstrumentStatus status;
    EXPECT_EQ(cqGetInstrumentStatus(wireless.handle, &status), CQ_NO_ERROR);
    EXPECT_EQ(status.item0, 1) << "calibrated";
}

void expectSampleCounts(CqHandle handle, std::uint32_t all, std::uint32_t ofFirst) {
    std::uint32_t count = 99;
    EXPECT_EQ(cqGetTotalSamples(handle, &count), CQ_NO_ERROR);
    EXPECT_EQ(count, all);
    EXPECT_EQ(cqGetSampleCount(handle, 0, &count), CQ_NO_ERROR);
    EXPECT_EQ(count, ofFirst);
}

TEST(WirelessCommands, StoreAndDeleteStandards) {
    Wireless wireless("--capacity 12");
    const auto written = numberedRecords(12);
    ASSERT_EQ(cqDownloadStandards(wireless.handle, written.data(), 10), CQ_NO_ERROR);
    EXPECT_EQ(totalStandards(wireless.handle), 10U);

    std::vector<CqMeasurementRecord> read(12, numberedRecord(0xDEAD));
    ASSERT_EQ(cqUploadStandards(wireless.handle, read.data(), 0, CQ_ALL_RECORDS), CQ_NO_ERROR);
    EXPECT_TRUE(std::equal(read.begin(), read.begin() + 10, written.begin()));
    EXPECT_EQ(read[10], numberedRecord(0xDEAD));
    ASSERT_EQ(cqUploadStandards(wireless.handle, read.data(), 7, 2), CQ_NO_ERROR);
    EXPECT_EQ(read[0], written[7]);
    EXPECT_EQ(read[1], written[8]);
    EXPECT_EQ(read[2], written[2]) << "beyond what was asked for";

    const std::string before = wireless.adapter.lineLog();
    EXPECT_EQ(cqUploadStandards(wireless.handle, read.data(), 3, 0), CQ_NO_ERROR);
    EXPECT_EQ(cqDownloadStandards(wireless.handle, written.data(), 0), CQ_NO_ERROR);
    EXPECT_EQ(wireless.adapter.lineLog(), before) << "nothing asked for, nothing sent";

    EXPECT_EQ(cqUploadStandards(wireless.handle, read.data(), 9, 2), CQ_INVALID_PARAMETER);
    EXPECT_EQ(read[0], written[7]) << "a failure writes nothing";
    EXPECT_EQ(cqDeleteStandard(wireless.handle, 10), CQ_INVALID_PARAMETER);
    EXPECT_EQ(cqDeleteStandard(wireless.handle, 0), CQ_NO_ERROR);
    ASSERT_EQ(cqUploadStandards(wireless.handle, read.data(), 0, 1), CQ_NO_ERROR);
    EXPECT_EQ(read[0], written[1]);

    // Room for three is left: what fits before the refusal is stored.
    EXPECT_EQ(cqDownloadStandards(wireless.handle, written.data(), 4), CQ_EXECUTE_COMMAND_FAILED);
    EXPECT_EQ(totalStandards(wireless.handle), 12U);
    EXPECT_EQ(cqDeleteAllRecords(wireless.handle), CQ_NO_ERROR);
    EXPECT_EQ(totalStandards(wireless.handle), 0U);
    EXPECT_EQ(occurrences(wireless.adapter.lineLog(), "(erase standard) payload=4"), 3U);
}

TEST(WirelessCommands, ReadAndDeleteSamplesOfAStandard) {
    Wireless wireless(
        "--standards 2 --samples 5");  // three of the first standard, two of the second
    expectSampleCounts(wireless.handle, 5, 3);
    std::uint32_t count = 99;
    EXPECT_EQ(cqGetSampleCount(wireless.handle, 2, &count), CQ_INVALID_PARAMETER);
    EXPECT_EQ(count, 99U);

    std::vector<CqMeasurementRecord> first(4, numberedRecord(0xDEAD));
    ASSERT_EQ(cqUploadSamples(wireless.handle, first.data(), 0, 0, CQ_ALL_RECORDS), CQ_NO_ERROR);
    EXPECT_EQ(first[3], numberedRecord(0xDEAD));
    std::vector<CqMeasurementRecord> second(2);
    ASSERT_EQ(cqUploadSamples(wireless.handle, second.data(), 1, 0, 2), CQ_NO_ERROR);
    EXPECT_NE(first[0], second[0]);
    EXPECT_EQ(cqUploadSamples(wireless.handle, second.data(), 1, 1, 2), CQ_INVALID_PARAMETER);

    EXPECT_EQ(cqDeleteSample(wireless.handle, 0, 3), CQ_INVALID_PARAMETER);
    EXPECT_EQ(cqDeleteSample(wireless.handle, 0, 1), CQ_NO_ERROR);
    expectSampleCounts(wireless.handle, 4, 2);
    std::vector<CqMeasurementRecord> rest(1);
    ASSERT_EQ(cqUploadSamples(wireless.handle, rest.data(), 0, 1, CQ_ALL_RECORDS), CQ_NO_ERROR);
    EXPECT_EQ(rest[0], first[2]);
}

}  // namespace
}  // namespace cqtest

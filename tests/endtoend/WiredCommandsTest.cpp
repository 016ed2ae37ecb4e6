// Commands of a wired instrument, through the exports and over a line.

#include <gtest/gtest.h>

#include <numeric>

#include "endtoend/Wired.h"

namespace cqtest {
namespace {

TEST(WiredCommands, MeasurementBeforeCalibrationIsRefused) {
    Wired wired;
    CqMeasurementRecord record = numberedRecord(1);
    EXPECT_EQ(cqMeasureStandard(wired.handle, &record), CQ_EXECUTE_COMMAND_FAILED);
    EXPECT_EQ(cqMeasureTrial(wired.handle, &record), CQ_EXECUTE_COMMAND_FAILED);
    EXPECT_EQ(record, numberedRecord(1)) << "a refusal leaves the record as it was";

    ASSERT_EQ(cqCalibrateWhite(wired.handle), CQ_NO_ERROR);
    EXPECT_EQ(cqMeasureStandard(wired.handle, &record), CQ_EXECUTE_COMMAND_FAILED);
    ASSERT_EQ(cqCalibrateBlack(wired.handle), CQ_NO_ERROR);
    EXPECT_EQ(cqMeasureStandard(wired.handle, &record), CQ_NO_ERROR);
}

TEST(WiredCommands, WhiteBoardParameterIsReadAsItWasWritten) {
    Wired wired;
    CqWhiteBoardParameter written{"TILE-7", {}, {}, {}};
    std::iota(std::begin(written.firstBlock), std::end(written.firstBlock), std::uint8_t{1});
    std::iota(std::begin(written.secondBlock), std::end(written.secondBlock), std::uint8_t{99});
    ASSERT_EQ(cqSetWhiteBoardParameter(wired.handle, &written), CQ_NO_ERROR);

    CqWhiteBoardParameter read;
    ASSERT_EQ(cqGetWhiteBoardParameter(wired.handle, &read), CQ_NO_ERROR);
    EXPECT_EQ(std::memcmp(&read, &written, sizeof(read)), 0);
}

}  // namespace
}  // namespace cqtest

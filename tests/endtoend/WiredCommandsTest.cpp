// Commands of a wired instrument, through the exports and over a line.

#include <gtest/gtest.h>

#include <array>
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

// The first patch of the chart is a dark skin: a brown of L* about 38.
TEST(WiredCommands, MeasuredSpectrumGivesThePatchColour) {
    Wired wired;
    wired.calibrate();
    CqMeasurementRecord record;
    ASSERT_EQ(cqMeasureStandard(wired.handle, &record), CQ_NO_ERROR);

    constexpr std::size_t kSpectrumOffset = 64;  // the virtual instrument's own layout
    std::array<float, 31> spectrum;
    std::memcpy(spectrum.data(), record.bytes + kSpectrumOffset, sizeof(spectrum));
    ColorData lab;
    ASSERT_EQ(cqGetColorDataFromSpectralData(spectrum.data(), ColorSpaceLab, IlluminantD50,
                                             Observer2Degree, &lab),
              CQ_NO_ERROR);
    EXPECT_NEAR(lab.values[0], 37.9F, 1.0F);
    EXPECT_NEAR(lab.values[1], 13.6F, 1.5F);
    EXPECT_NEAR(lab.values[2], 14.1F, 1.5F);
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

TEST(WiredCommands, MeasurementParameterIsReadAsItWasWritten) {
    Wired wired;
    for (const std::uint8_t value : {std::uint8_t{0}, std::uint8_t{1}, std::uint8_t{3}}) {
        ASSERT_EQ(cqSetMeasurementParameter(wired.handle, 2, value), CQ_NO_ERROR);
        std::uint32_t read = 0xFFFFFFFF;
        ASSERT_EQ(cqGetMeasurementParameter(wired.handle, 2, &read), CQ_NO_ERROR);
        EXPECT_EQ(read, value);
    }
}

}  // namespace
}  // namespace cqtest

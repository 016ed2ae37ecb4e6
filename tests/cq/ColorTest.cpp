#include "color/ChartPatches.h"
#include "color/ColorMath.h"
#include "color/ColorNames.h"
#include "ResultText.h"
#include "Samples.h"

namespace cqtool {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST(ColorNames, AreFoundInAnyCaseAndListedWhenNot) {
    EXPECT_EQ(colorSpaceNamed("LCh").number, std::uint32_t{ColorSpaceLch});
    EXPECT_EQ(colorSpaceNamed("yxy-unit").number, std::uint32_t{ColorSpaceYxyUnit});
    EXPECT_EQ(illuminantNamed("d65"), IlluminantD65);
    EXPECT_EQ(illuminantNamed("F12"), IlluminantF12);
    EXPECT_EQ(observerNamed("2"), Observer2Degree);
    EXPECT_EQ(viewingName({IlluminantA, Observer10Degree}), "A/10°");
    EXPECT_THAT(thrownBy<UsageError>([] { colorSpaceNamed("cmyk"); }), HasSubstr("lab, xyz, yxy"));
    EXPECT_THAT(thrownBy<UsageError>([] { illuminantNamed("F13"); }), HasSubstr("D65, D50, A"));
    EXPECT_THAT(thrownBy<UsageError>([] { observerNamed("2°"); }), HasSubstr("must be 2 or 10"));
}

TEST(ColorMath, MakesScreenColors) {
    EXPECT_EQ(toRgb({{1, 0.5F, 0}}), (Rgb{255, 128, 0}));
    EXPECT_EQ(toRgb({{2, -1, std::nanf("")}}), (Rgb{255, 0, 0}));
    EXPECT_EQ(hexColor({0, 10, 255}), "#000aff");
    EXPECT_EQ(rgbOfLab({{100, 0, 0}}, {IlluminantA, Observer10Degree}), (Rgb{255, 255, 255}));
}

TEST(ChartPatches, AreThePublishedChart) {
    // Published CIELAB values of the chart for D50 and 2 degrees; its patches vary by a few units.
    const struct {
        std::size_t index;
        const char* name;
        ColorData lab;
    } cases[] = {{0, "dark skin", {{37.99F, 13.56F, 14.06F}}},
                 {14, "red", {{42.10F, 53.38F, 28.19F}}},
                 {18, "white 9.5 (.05 D)", {{96.54F, -0.43F, 1.19F}}},
                 {23, "black 2 (1.5 D)", {{20.46F, -0.08F, -0.97F}}}};
    for (const auto& [index, name, lab] : cases) {
        EXPECT_STREQ(kChartPatches[index].name, name);
        const ColorData computed = colorOfSpectrum(kChartPatches[index].reflectance, ColorSpaceLab,
                                                   {IlluminantD50, Observer2Degree});
        EXPECT_LT(deltaEab(computed, lab), 4) << name;
    }
}

TEST(ResultText, ExplainsEveryFailure) {
    EXPECT_STREQ(cqGetResultText(CQ_UNCALIBRATED), "uncalibrated");
    EXPECT_STREQ(cqGetResultText(20), "unknown error");
    EXPECT_NO_THROW(check(CQ_NO_ERROR, Operation::readStatus));
    for (std::uint32_t code = 1; code <= 25; ++code) {
        try {
            check(code, Operation::calibrateWhite);
            FAIL() << "code " << code << " was taken for success";
        } catch (const Failure& failure) {
            EXPECT_THAT(failure.what(), HasSubstr("(" + std::to_string(code) + ")"));
            EXPECT_THAT(failure.what(), HasSubstr(cqGetResultText(code)));
            EXPECT_THAT(failure.advice(), Not(testing::IsEmpty()));
        }
    }
    EXPECT_THAT(advice(CQ_EXECUTE_COMMAND_FAILED, Operation::measureTrial),
                HasSubstr("cq calibrate white"));
}

}  // namespace
}  // namespace cqtool

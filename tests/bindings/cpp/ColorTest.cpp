// The typed colour functions: that each argument arrives in its place, and that nothing reaches the
// library that it would not check.

#include <gtest/gtest.h>

#include <stdexcept>

#include "cqapi/Color.hpp"

namespace {

using cqapi::Color;

void expectNear(const Color& color, const Color& expected, float tolerance) {
    for (std::size_t i = 0; i < color.size(); ++i) {
        EXPECT_NEAR(color[i], expected[i], tolerance) << i;
    }
}

// White points: CIE 15:2018, table for each illuminant and observer.
TEST(CppColor, ArgumentsReachTheirPlaces) {
    cqapi::Spectrum white;
    white.fill(1.0F);
    expectNear(cqapi::colorFromSpectrum(white, ColorSpaceXyz, IlluminantA, Observer2Degree),
               {109.85F, 100.0F, 35.58F}, 0.05F);
    expectNear(cqapi::colorFromXyz({109.85F, 100.0F, 35.585F}, ColorSpaceLab, IlluminantA,
                                   Observer2Degree),
               {100, 0, 0}, 0.05F);
    expectNear(cqapi::colorFromLab({100, 0, 0}, ColorSpaceYxy, IlluminantD50, Observer2Degree),
               {100, 0.3457F, 0.3585F}, 0.001F);
}

TEST(CppColor, RefusesWhatTheLibraryWouldNotCheck) {
    const cqapi::Spectrum spectrum{};
    for (const int unassigned : {7, 10}) {
        const auto space = static_cast<ColorSpace>(unassigned);
        EXPECT_THROW(cqapi::colorFromSpectrum(spectrum, space), std::invalid_argument);
        EXPECT_THROW(cqapi::colorFromLab({}, space), std::invalid_argument);
    }
    const auto unknown = static_cast<Illuminant>(IlluminantF12 + 1);
    EXPECT_THROW(cqapi::colorFromXyz({}, ColorSpaceLab, unknown), std::invalid_argument);
}

TEST(CppColor, DifferencesAndTheRestReachTheLibrary) {
    const Color standard{50, 2.6772F, -79.7751F};
    const Color trial{50, 0, -82.7485F};
    EXPECT_NEAR(cqapi::colorDifference(standard, trial).deltaE, 2.0425, 1e-4);
    const std::array<float, 3> oneToOne{1, 1, 0};
    EXPECT_NEAR(cqapi::colorDifference({100, -50, 50}, {20, 10, -20}, CqDeltaECmc, oneToOne).deltaE,
                66.320207, 1e-4);
    EXPECT_THROW(cqapi::colorDifference(standard, trial, CqDeltaE94, oneToOne), cqapi::Error);

    const auto yellowness =
        cqapi::colorIndex(CqYellownessE313, {95, 100, 105}, IlluminantD65, Observer2Degree);
    EXPECT_NEAR(yellowness.value, 4.34, 1e-4);
    EXPECT_TRUE(yellowness.isWithinLimits);
    EXPECT_FALSE(cqapi::colorIndex(CqTintCie, {50, 40, 30}).isWithinLimits);
    cqapi::Spectrum grey;
    grey.fill(0.5F);
    cqapi::Spectrum darker;
    darker.fill(0.25F);
    EXPECT_NEAR(cqapi::colorStrength(grey, darker, CqStrengthSum), 450, 1e-3);
    EXPECT_NEAR(cqapi::metamerismIndex(grey, darker), 0, 1e-3);
    const auto [rating, step] =
        cqapi::greyScaleRating(CqGreyScaleChange, {40, 0, 0}, {41.7F, 0, 0});
    EXPECT_NEAR(rating, 4, 1e-4);
    EXPECT_EQ(step, 4);
    EXPECT_STREQ(cqapi::libraryVersion(), CQAPI_VERSION_STRING);
}

}  // namespace

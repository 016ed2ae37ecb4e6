// Weighting tables, resampling and summation, below the exports.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include "color/Integration.h"
#include "color/Resampling.h"
#include "color/WeightingTable.h"

namespace ovk::color {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr Viewing kD65At2{0, 0};
constexpr Viewing kD65At10{0, 1};
constexpr Viewing kF2At2{7, 0};

template <typename Tables>
Triple row(const Tables& tables, std::uint16_t step, Viewing viewing, std::size_t wavelength) {
    const float* weights =
        &tables[viewing.tableIndex()].weights.at(3 * ((wavelength - kTableStart) / step));
    return {weights[0], weights[1], weights[2]};
}

TEST(ColorTables, RowsArePublishedOnes) {
    struct Case {
        std::uint16_t step;
        Viewing viewing;
        std::size_t wavelength;
        Triple weights;
    };
    for (const Case& c : {
             Case{10, kD65At2, 360, {0.000f, 0.000f, 0.001f}},
             Case{10, kD65At2, 400, {0.101f, 0.003f, 0.477f}},
             Case{10, kD65At2, 450, {3.699f, 0.417f, 19.506f}},
             Case{10, kD65At2, 560, {5.626f, 9.419f, 0.037f}},
             Case{10, kD65At2, 780, {0.000f, 0.000f, 0.000f}},
             Case{10, kD65At10, 380, {0.000f, 0.000f, -0.002f}},
             Case{10, kF2At2, 390, {-0.001f, 0.000f, -0.006f}},
             Case{5, kD65At2, 400, {0.056f, 0.002f, 0.266f}},
             Case{5, kD65At2, 450, {1.861f, 0.210f, 9.811f}},
             Case{5, kD65At2, 560, {2.813f, 4.708f, 0.018f}},
             Case{5, kF2At2, 435, {3.924f, 0.201f, 19.387f}},
             Case{5, kF2At2, 545, {3.056f, 8.329f, 0.114f}},
         }) {
        const Triple weights = c.step == 10 ? row(kWeightingTables10nm, 10, c.viewing, c.wavelength)
                                            : row(kWeightingTables5nm, 5, c.viewing, c.wavelength);
        EXPECT_EQ(weights, c.weights) << c.step << " nm set at " << c.wavelength << " nm";
    }
}

TEST(ColorTables, SumsComeCloseToTheWhiteThatBothSetsHave) {
    const std::vector<float> ones(kWavelengths5nm, 1.0f);
    const std::span<const float> every5(ones);
    const std::span<const float> every10 = every5.first(kWavelengths10nm);
    for (std::size_t index = 0; index < kTableCount; ++index) {
        const auto& fine = kWeightingTables5nm[index];
        const auto& coarse = kWeightingTables10nm[index];
        EXPECT_EQ(fine.white, coarse.white) << index;
        EXPECT_EQ(fine.white[1], 100.0f) << index;
        const Triple fineSums = weightedSums(every5, fine.weights);
        const Triple coarseSums = weightedSums(every10, coarse.weights);
        EXPECT_NEAR(fineSums[1], 100.0f, 0.006f) << index;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            EXPECT_NEAR(coarseSums[axis], coarse.white[axis], 0.008f) << index << ", axis " << axis;
        }
    }
}

TEST(ColorSums, RoundProductsToSinglePrecisionButNotSums) {
    constexpr float kEpsilon = 1.1920929e-7f;  // 1 + kEpsilon is next to 1
    const std::array<float, 3> samples{1.0f + kEpsilon, 1e8f, 1.0f};
    // X: (1 + e)^2 - (1 + 2e); Y: 1 + e + 1e8 - 1e8
    const std::array<float, 9> weights{1.0f + kEpsilon,         1.0f,  0.0f, 0.0f, 1.0f, 0.0f,
                                       -1.0f - 2.0f * kEpsilon, -1e8f, 0.0f};
    EXPECT_EQ(weightedSums(samples, weights), (Triple{0.0f, 1.0f + kEpsilon, 0.0f}));
    EXPECT_EQ(weightedSums({}, {}), Triple{});
}

/// What one of the two ways of resampling gives.
std::vector<float> resampled(decltype(resampleHeld) resample, const SpectralGrid& source,
                             std::uint16_t start, std::uint16_t step, std::size_t count) {
    std::vector<float> target(count);
    resample(source, start, step, target);
    return target;
}

TEST(ColorResampling, HoldsTheEndsAndTakesTheSampleAtOrBelow) {
    const std::array<float, 4> samples{1.0f, 2.0f, 3.0f, 4.0f};
    const SpectralGrid source{400, 10, 4, samples.data()};
    EXPECT_THAT(resampled(resampleHeld, source, 380, 10, 8), ElementsAre(1, 1, 1, 2, 3, 4, 4, 4));
    EXPECT_THAT(resampled(resampleHeld, source, 385, 20, 4), ElementsAre(1, 1, 3, 4));
    EXPECT_THAT(resampled(resampleHeld, source, 420, 10, 2), ElementsAre(3, 4));
    EXPECT_THAT(resampled(resampleHeld, source, 500, 10, 1), ElementsAre(4));
    EXPECT_THAT(resampled(resampleHeld, source, 360, 10, 2), ElementsAre(1, 1));
}

TEST(ColorResampling, SplineCopiesEqualGridsAndContinuesStraightLines) {
    const std::array<float, 3> samples{0.25f, 0.5f, 0.75f};
    const SpectralGrid source{400, 10, 3, samples.data()};
    EXPECT_THAT(resampled(resampleSpline, source, 400, 10, 3), ElementsAre(0.25f, 0.5f, 0.75f));
    EXPECT_THAT(resampled(resampleSpline, source, 390, 5, 9),
                ElementsAre(0.0f, 0.125f, 0.25f, 0.375f, 0.5f, 0.625f, 0.75f, 0.875f, 1.0f));
}

TEST(ColorResampling, SplineNamesHowManyPointsItNeeds) {
    const std::vector<float> samples(kMaxSplinePoints + 1);
    const auto points = [&](std::size_t count) {
        return SpectralGrid{360, 2, static_cast<std::uint16_t>(count), samples.data()};
    };
    for (const std::size_t count : {std::size_t{1}, std::size_t{2}, kMaxSplinePoints + 1}) {
        try {
            resampled(resampleSpline, points(count), 360, 5, 3);
            ADD_FAILURE() << "no exception for " << count;
        } catch (const std::invalid_argument& error) {
            EXPECT_THAT(error.what(), HasSubstr("3 to 471 points, not " + std::to_string(count)));
        }
    }
    EXPECT_NO_THROW(resampled(resampleSpline, points(kMaxSplinePoints), 360, 5, 3));
}

}  // namespace
}  // namespace ovk::color

// Weighting tables, resampling and summation, below the exports.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

#include "color/Integration.h"
#include "color/Resampling.h"
#include "color/WeightingTable.h"

namespace ovk::color {
namespace {

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
        const Tristimulus fineSums = weightedSums(every5, fine.weights);
        const Tristimulus coarseSums = weightedSums(every10, coarse.weights);
        EXPECT_NEAR(fineSums[1], 100.0, 0.006) << index;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            EXPECT_NEAR(coarseSums[axis], coarse.white[axis], 0.008) << index << ", axis " << axis;
        }
    }
}

TEST(ColorSums, RoundProductsToSinglePrecisionButNotSums) {
    constexpr float kEpsilon = 1.1920929e-7f;  // 1 + kEpsilon is next to 1
    const std::array<float, 3> samples{1.0f + kEpsilon, 1e8f, 1.0f};
    // X: (1 + e)^2 - (1 + 2e); Y: 1 + e + 1e8 - 1e8
    const std::array<float, 9> weights{1.0f + kEpsilon,         1.0f,  0.0f, 0.0f, 1.0f, 0.0f,
                                       -1.0f - 2.0f * kEpsilon, -1e8f, 0.0f};
    EXPECT_EQ(weightedSums(samples, weights), (Tristimulus{0.0, 1.0 + kEpsilon, 0.0}));
    EXPECT_EQ(weightedSums({}, {}), Tristimulus{});
}

std::array<float, kSpectrumSamples> straightLine() {
    std::array<float, kSpectrumSamples> samples;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] = 0.25f + 0.0078125f * static_cast<float>(i);
    }
    return samples;
}

TEST(ColorResampling, HoldsTheEnds) {
    const auto source = straightLine();
    const auto held = resampleHeld(source);
    for (std::size_t i = 0; i < held.size(); ++i) {
        EXPECT_EQ(held[i], source[i < 4 ? 0 : std::min(i - 4, source.size() - 1)]) << i;
    }
}

TEST(ColorResampling, SplineContinuesStraightLines) {
    const auto source = straightLine();
    const auto samples = resampleSpline(source);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        EXPECT_FLOAT_EQ(samples[i], 0.25f + 0.00390625f * (static_cast<float>(i) - 8.0f)) << i;
    }
}

}  // namespace
}  // namespace ovk::color

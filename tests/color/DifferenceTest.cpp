// Colour differences: published values, those of other programs, and where the formulas have corners.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <numbers>

#include "cqapi/CQApi.h"

namespace {

using Triple = std::array<float, 3>;
using Spectrum = std::array<float, 31>;

constexpr float kUntouchedDelta = -77.0f;

ColorData colorOf(const Triple& values) {
    return {{values[0], values[1], values[2]}};
}

CqColorDifference compare(std::uint32_t formula, const Triple& standard, const Triple& trial,
                          const float* factors = nullptr) {
    const ColorData one = colorOf(standard);
    const ColorData other = colorOf(trial);
    CqColorDifference difference{};
    EXPECT_EQ(cqGetColorDifference(formula, factors, &one, &other, &difference), CQ_NO_ERROR);
    return difference;
}

float deltaE(std::uint32_t formula, const Triple& standard, const Triple& trial,
             const float* factors = nullptr) {
    return compare(formula, standard, trial, factors).deltaE;
}

struct Pair {
    Triple standard;
    Triple trial;
    double deltaE;
};

// Sharma, Wu and Dalal, "The CIEDE2000 color-difference formula: implementation notes,
// supplementary test data, and mathematical observations", Color Research and Application 30
// (2005), table 1.
constexpr Pair kSharma[] = {
    {{50.0f, 2.6772f, -79.7751f}, {50.0f, 0.0f, -82.7485f}, 2.0425},
    {{50.0f, 3.1571f, -77.2803f}, {50.0f, 0.0f, -82.7485f}, 2.8615},
    {{50.0f, 2.8361f, -74.02f}, {50.0f, 0.0f, -82.7485f}, 3.4412},
    {{50.0f, -1.3802f, -84.2814f}, {50.0f, 0.0f, -82.7485f}, 1.0000},
    {{50.0f, -1.1848f, -84.8006f}, {50.0f, 0.0f, -82.7485f}, 1.0000},
    {{50.0f, -0.9009f, -85.5211f}, {50.0f, 0.0f, -82.7485f}, 1.0000},
    {{50.0f, 0.0f, 0.0f}, {50.0f, -1.0f, 2.0f}, 2.3669},
    {{50.0f, -1.0f, 2.0f}, {50.0f, 0.0f, 0.0f}, 2.3669},
    {{50.0f, 2.49f, -0.001f}, {50.0f, -2.49f, 0.0009f}, 7.1792},
    {{50.0f, 2.49f, -0.001f}, {50.0f, -2.49f, 0.001f}, 7.1792},
    {{50.0f, 2.49f, -0.001f}, {50.0f, -2.49f, 0.0011f}, 7.2195},
    {{50.0f, 2.49f, -0.001f}, {50.0f, -2.49f, 0.0012f}, 7.2195},
    {{50.0f, -0.001f, 2.49f}, {50.0f, 0.0009f, -2.49f}, 4.8045},
    {{50.0f, -0.001f, 2.49f}, {50.0f, 0.001f, -2.49f}, 4.8045},
    {{50.0f, -0.001f, 2.49f}, {50.0f, 0.0011f, -2.49f}, 4.7461},
    {{50.0f, 2.5f, 0.0f}, {50.0f, 0.0f, -2.5f}, 4.3065},
    {{50.0f, 2.5f, 0.0f}, {73.0f, 25.0f, -18.0f}, 27.1492},
    {{50.0f, 2.5f, 0.0f}, {61.0f, -5.0f, 29.0f}, 22.8977},
    {{50.0f, 2.5f, 0.0f}, {56.0f, -27.0f, -3.0f}, 31.9030},
    {{50.0f, 2.5f, 0.0f}, {58.0f, 24.0f, 15.0f}, 19.4535},
    {{50.0f, 2.5f, 0.0f}, {50.0f, 3.1736f, 0.5854f}, 1.0000},
    {{50.0f, 2.5f, 0.0f}, {50.0f, 3.2972f, 0.0f}, 1.0000},
    {{50.0f, 2.5f, 0.0f}, {50.0f, 1.8634f, 0.5757f}, 1.0000},
    {{50.0f, 2.5f, 0.0f}, {50.0f, 3.2592f, 0.335f}, 1.0000},
    {{60.2574f, -34.0099f, 36.2677f}, {60.4626f, -34.1751f, 39.4387f}, 1.2644},
    {{63.0109f, -31.0961f, -5.8663f}, {62.8187f, -29.7946f, -4.0864f}, 1.2630},
    {{61.2901f, 3.7196f, -5.3901f}, {61.4292f, 2.248f, -4.962f}, 1.8731},
    {{35.0831f, -44.1164f, 3.7933f}, {35.0232f, -40.0716f, 1.5901f}, 1.8645},
    {{22.7233f, 20.0904f, -46.694f}, {23.0331f, 14.973f, -42.5619f}, 2.0373},
    {{36.4612f, 47.858f, 18.3852f}, {36.2715f, 50.5065f, 21.2231f}, 1.4146},
    {{90.8027f, -2.0831f, 1.441f}, {91.1528f, -1.6435f, 0.0447f}, 1.4441},
    {{90.9257f, -0.5406f, -0.9208f}, {88.6381f, -0.8985f, -0.7239f}, 1.5381},
    {{6.7747f, -0.2908f, -2.4247f}, {5.8714f, -0.0985f, -2.2286f}, 0.6377},
    {{2.0776f, 0.0795f, -1.135f}, {0.9033f, -0.0636f, -0.5514f}, 0.9082},
};

TEST(Difference, Ciede2000GivesSharmasTableBothWays) {
    for (const Pair& pair : kSharma) {
        EXPECT_NEAR(deltaE(CqDeltaE2000, pair.standard, pair.trial), pair.deltaE, 0.5001e-4);
        EXPECT_NEAR(deltaE(CqDeltaE2000, pair.trial, pair.standard), pair.deltaE, 0.5001e-4);
    }
}

TEST(Difference, OtherFormulasGivePublishedValues) {
    constexpr float kOneToOne[]{1.0f, 1.0f, -1.0f};  // the third of CMC is not read
    constexpr Triple kVivid{100.0f, -50.0f, 50.0f};
    constexpr Triple kDark{20.0f, 10.0f, -20.0f};
    constexpr Triple kFar{10.3454f, 3.2151f, -189.123f};
    constexpr Triple kTeal{51.7781f, -22.5151f, 1.0001f};
    const Pair& green = kSharma[24];
    const Pair& blueGreen = kSharma[25];
    const Pair& deepGreen = kSharma[27];
    struct Case {
        std::uint32_t formula;
        const float* factors;
        Triple standard;
        Triple trial;
        double deltaE;
        double tolerance;
    };
    for (const Case& c : {
             // B. Lindbloom's calculator (brucelindbloom.com, ColorDifferenceCalc)
             Case{CqDeltaECmc, kOneToOne, kVivid, kDark, 66.320207, 2e-5},
             Case{CqDeltaECmc, nullptr, kVivid, kDark, 47.038863, 2e-5},
             Case{CqDeltaECmc, kOneToOne, kFar, kTeal, 98.577755, 2e-5},
             Case{CqDeltaECmc, nullptr, kFar, kTeal, 69.187455, 2e-5},
             Case{CqDeltaECmc, kOneToOne, {41.41f, 2.64f, 4.15f}, {}, 42.570316, 2e-5},
             Case{CqDeltaECmc, nullptr, {41.41f, 2.64f, 4.15f}, {}, 21.769476, 2e-5},
             Case{CqDeltaECmc, kOneToOne, {100.0f, 0.0f, 0.0f}, {}, 67.480171, 2e-5},
             Case{CqDeltaE94, nullptr, kVivid, kDark, 89.358114, 2e-5},
             Case{CqDeltaE94, nullptr, kFar, kTeal, 51.361909, 2e-5},
             Case{CqDeltaE94Textile, nullptr, kVivid, kDark, 57.247221, 2e-5},
             Case{CqDeltaE94Textile, nullptr, kFar, kTeal, 37.179939, 2e-5},
             // the pairs of ASTM D2244 by DIN99
             Case{CqDeltaE99, nullptr, green.standard, green.trial, 1.17722, 0.5e-5},
             Case{CqDeltaE99, nullptr, blueGreen.standard, blueGreen.trial, 0.98753, 0.5e-5},
             Case{CqDeltaE99, nullptr, deepGreen.standard, deepGreen.trial, 1.53589, 0.5e-5},
             // culori 4.0.2; its constant for L99o has more digits
             Case{CqDeltaE99o, nullptr, green.standard, green.trial, 1.71047, 2e-5},
             Case{CqDeltaE99o, nullptr, blueGreen.standard, blueGreen.trial, 1.47653, 2e-5},
             Case{CqDeltaE99o, nullptr, kDark, kVivid, 96.73539, 5e-4},
             Case{CqDeltaE99o, nullptr, {50, 0, 0}, {60, 0, 0}, 9.75232, 5e-5},
             // roles changed; culori 4.0.2, CMC also by cmsCMCdeltaE of lcms2 2.14
             Case{CqDeltaE94, nullptr, kDark, kVivid, 102.15828, 2e-5},
             Case{CqDeltaECmc, nullptr, kDark, kVivid, 102.77088, 2e-5},
             // across hue 0, below and above L* 16, in both parts of T; the same two programs
             Case{CqDeltaE2000, nullptr, {50, 30, 5}, {52, 31, -5}, 6.43005, 1e-5},
             Case{CqDeltaE2000, nullptr, {50, 30, -5}, {52, 31, 5}, 6.42236, 1e-5},
             Case{CqDeltaE2000, nullptr, {50, 3, 20}, {50, 20, -100}, 46.316558, 1e-5},
             Case{CqDeltaECmc, nullptr, {50, 30, 5}, {52, 31, -5}, 7.71512, 1e-5},
             Case{CqDeltaECmc, nullptr, {50, 30, -5}, {52, 31, 5}, 6.92454, 1e-5},
             Case{CqDeltaECmc, nullptr, {15.5f, 20, 10}, {14, 22, 9}, 2.46363, 1e-5},
             Case{CqDeltaECmc, nullptr, {16.5f, 20, 10}, {14, 22, 9}, 3.10074, 1e-5},
             Case{CqDeltaECmc, nullptr, {50, -20, -20}, {51, -22, -20}, 1.30365, 1e-5},
         }) {
        EXPECT_NEAR(deltaE(c.formula, c.standard, c.trial, c.factors), c.deltaE, c.tolerance)
            << "formula " << c.formula;
    }
}

TEST(Difference, ComponentsAreTheTrialsLessTheStandards) {
    const CqColorDifference turned = compare(CqDeltaE99, {50, 10, 0}, {53, 0, 20});
    EXPECT_EQ(turned.deltaL, 3.0f);
    EXPECT_EQ(turned.deltaA, -10.0f);
    EXPECT_EQ(turned.deltaB, 20.0f);
    EXPECT_EQ(turned.deltaC, 10.0f);
    EXPECT_FLOAT_EQ(turned.deltaH, 20.0f);  // 2 sqrt(10 * 20) sin 45 degrees
    EXPECT_FLOAT_EQ(compare(CqDeltaE76, {53, 0, 20}, {50, 10, 0}).deltaH, -20.0f);
    // across hue 0; a difference that the square root of squares would lose; a neutral
    EXPECT_NEAR(compare(CqDeltaE76, {50, 30, -5}, {50, 30, 5}).deltaH, 10.0, 1e-5);
    EXPECT_NEAR(compare(CqDeltaE76, {50, 90, 0}, {50, 90, -1e-4f}).deltaH, -1e-4, 1e-9);
    EXPECT_EQ(compare(CqDeltaE76, {50, 0, 0}, {50, 3, -4}).deltaH, 0.0f);
}

TEST(Difference, ExactlyOppositeHuesAreDecidedWithoutAngles) {
    for (int degrees = 0; degrees < 360; ++degrees) {
        const double angle = degrees * std::numbers::pi / 180.0;
        // in a few digits, so that three times as much has the same hue
        const auto a = static_cast<float>(std::round(640.0 * std::cos(angle)) / 128.0);
        const auto b = static_cast<float>(std::round(640.0 * std::sin(angle)) / 128.0);
        const Triple standard{50.0f, a, b};
        const Triple trial{50.0f, -3.0f * a, -3.0f * b};
        const double hueDifference = 2.0 * std::sqrt(3.0) * std::hypot(a, b);
        EXPECT_NEAR(compare(CqDeltaE76, standard, trial).deltaH, hueDifference, 1e-5);
        EXPECT_NEAR(compare(CqDeltaE76, trial, standard).deltaH, hueDifference, 1e-5);
        EXPECT_EQ(deltaE(CqDeltaE2000, standard, trial), deltaE(CqDeltaE2000, trial, standard));
    }
}

TEST(Difference, IsNoneOfTheSameColorAndFiniteOfNeutralsAndBlack) {
    for (std::uint32_t formula = CqDeltaE76; formula <= CqDeltaE99o; ++formula) {
        for (const Triple& color : {Triple{}, Triple{50, 0, 0}, Triple{100, -0.0f, -0.0f},
                                    Triple{30, 1e-30f, 0}, Triple{63.2f, -17.3f, 41.9f}}) {
            const CqColorDifference none = compare(formula, color, color);
            for (const float value :
                 {none.deltaE, none.deltaL, none.deltaA, none.deltaB, none.deltaC, none.deltaH}) {
                EXPECT_EQ(value, 0.0f) << formula;
            }
            const float fromBlack = deltaE(formula, {}, color);
            EXPECT_TRUE(std::isfinite(fromBlack) && (fromBlack > 0) == (color[0] > 0)) << formula;
        }
    }
}

TEST(Difference, FactorsDivideTheirPartAndMustBeAbove0) {
    constexpr float kFactors[]{2.0f, 4.0f, 8.0f};
    constexpr Triple kNeutral{50, 0, 0};
    EXPECT_FLOAT_EQ(deltaE(CqDeltaE94, kNeutral, {54, 0, 0}, kFactors), 2.0f);
    EXPECT_FLOAT_EQ(deltaE(CqDeltaE94, kNeutral, {50, 4, 0}, kFactors), 1.0f);
    EXPECT_FLOAT_EQ(deltaE(CqDeltaE2000, kSharma[0].standard, kSharma[0].trial, kFactors) * 8.0f,
                    deltaE(CqDeltaE2000, kSharma[0].standard, kSharma[0].trial,
                           std::array{1.0f, 0.5f, 1.0f}.data()));
    const ColorData color = colorOf(kNeutral);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    CqColorDifference difference{kUntouchedDelta, 0, 0, 0, 0, 0};
    for (const float bad : {0.0f, -1.0f, nan}) {
        for (std::size_t i = 0; i < 3; ++i) {
            std::array<float, 3> factors{1.0f, 1.0f, 1.0f};
            factors[i] = bad;
            for (const std::uint32_t formula : {CqDeltaE94, CqDeltaE94Textile, CqDeltaE2000}) {
                EXPECT_EQ(
                    cqGetColorDifference(formula, factors.data(), &color, &color, &difference),
                    16u);
            }
            EXPECT_EQ(
                cqGetColorDifference(CqDeltaECmc, factors.data(), &color, &color, &difference),
                i < 2 ? 16u : 0u);
            difference.deltaE = i < 2 ? difference.deltaE : kUntouchedDelta;
            EXPECT_EQ(difference.deltaE, kUntouchedDelta);
            EXPECT_FLOAT_EQ(deltaE(CqDeltaE99, kNeutral, {50, 3, 0}, factors.data()),
                            deltaE(CqDeltaE99, kNeutral, {50, 3, 0}));
        }
    }
    EXPECT_EQ(cqGetColorDifference(7, nullptr, &color, &color, &difference), 16u);
    EXPECT_EQ(difference.deltaE, kUntouchedDelta);
}

}  // namespace

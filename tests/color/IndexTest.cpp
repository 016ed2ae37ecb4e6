// Indices, strength, metamerism and grey scales: published values, and where they are not defined.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <tuple>
#include <utility>

#include "cqapi/CQApi.h"

namespace {

using Spectrum = std::array<float, 31>;

constexpr float kUntouched = -77.0f;

struct IndexAnswer {
    std::uint32_t code;
    float value = kUntouched;
    bool isWithinLimits = true;
};

IndexAnswer askIndex(std::uint32_t index, int illuminant, int observer, const ColorData& xyz) {
    IndexAnswer answer{};
    answer.code =
        cqGetColorIndex(index, illuminant, observer, &xyz, &answer.value, &answer.isWithinLimits);
    return answer;
}

ColorData xyzOf(double x, double y, double luminance) {
    return {{static_cast<float>(x / y * luminance), static_cast<float>(luminance),
             static_cast<float>((1 - x - y) / y * luminance)}};
}

TEST(ColorIndex, ThePerfectWhiteHasWhiteness100AndTheTintOfItsOwnFormula) {
    struct Case {
        int illuminant;
        int observer;
        double x, y;  // CIE 15 and ASTM E313
        bool isCie;
    };
    for (const Case& c :
         {Case{IlluminantD65, 0, 0.3127, 0.3290, true},
          Case{IlluminantD65, 1, 0.3138, 0.3310, true}, Case{IlluminantC, 0, 0.3101, 0.3161, false},
          Case{IlluminantC, 1, 0.3104, 0.3191, false},
          Case{IlluminantD50, 0, 0.3457, 0.3585, false},
          Case{IlluminantD50, 1, 0.3477, 0.3595, false}}) {
        const ColorData white = xyzOf(c.x, c.y, 100);
        const ColorData bluish = xyzOf(c.x - 0.004, c.y - 0.001, 90);
        const double tint = (c.observer == 1 ? 900 : 1000) * 0.004 - 0.65;
        for (const auto& [whiteness, tintIndex] :
             {std::pair{CqWhitenessCie, CqTintCie}, std::pair{CqWhitenessE313, CqTintE313}}) {
            if (whiteness == CqWhitenessCie && !c.isCie) {
                EXPECT_EQ(askIndex(whiteness, c.illuminant, c.observer, white).code, 17u);
                EXPECT_EQ(askIndex(tintIndex, c.illuminant, c.observer, white).code, 17u);
                continue;
            }
            EXPECT_NEAR(askIndex(whiteness, c.illuminant, c.observer, white).value, 100, 1e-4);
            EXPECT_NEAR(askIndex(tintIndex, c.illuminant, c.observer, white).value, 0, 1e-4);
            EXPECT_NEAR(askIndex(whiteness, c.illuminant, c.observer, bluish).value, 94.9, 1e-4);
            EXPECT_NEAR(askIndex(tintIndex, c.illuminant, c.observer, bluish).value, tint, 1e-4);
        }
    }
}

TEST(ColorIndex, YellownessIsAsPublished) {
    // The figures of the package "colour" (colour-science.org) for ASTM E313 and D1925.
    const ColorData blue{{95, 100, 105}};
    const ColorData yellow{{105, 100, 95}};
    EXPECT_NEAR(askIndex(CqYellownessE313, IlluminantD65, 0, blue).value, 4.34, 1e-5);
    EXPECT_NEAR(askIndex(CqYellownessE313, IlluminantD65, 0, yellow).value, 28.66, 1e-5);
    EXPECT_NEAR(askIndex(CqYellownessD1925, IlluminantC, 0, blue).value, 10.3, 1e-5);
    EXPECT_NEAR(askIndex(CqYellownessD1925, IlluminantC, 0, yellow).value, 33.7, 1e-5);
    // The perfect white of each pair is not yellow, but for the rounding of the coefficients.
    for (const auto& [illuminant, observer, white] :
         {std::tuple{IlluminantC, 0, ColorData{{98.074f, 100, 118.232f}}},
          {IlluminantC, 1, ColorData{{97.285f, 100, 116.145f}}},
          {IlluminantD65, 1, ColorData{{94.811f, 100, 107.304f}}}}) {
        EXPECT_NEAR(askIndex(CqYellownessE313, illuminant, observer, white).value, 0, 0.01);
    }
    EXPECT_TRUE(askIndex(CqYellownessE313, IlluminantC, 0, yellow).isWithinLimits);
}

TEST(ColorIndex, LimitsAreThoseOfWhitenessAndTint) {
    const auto isWithin = [](std::uint32_t index, double dx, double dy, double luminance) {
        return askIndex(index, IlluminantD65, 1, xyzOf(0.3138 - dx, 0.3310 - dy, luminance))
            .isWithinLimits;
    };
    for (const std::uint32_t index : {CqWhitenessCie, CqTintCie, CqWhitenessE313, CqTintE313}) {
        EXPECT_TRUE(isWithin(index, 0, 0, 90)) << index;
        EXPECT_FALSE(isWithin(index, 0, 0, 69.9)) << index;  // W is above 5 Y - 280
        EXPECT_TRUE(isWithin(index, 0, 0, 70.1)) << index;
        EXPECT_FALSE(isWithin(index, -0.016013, -0.022172, 90)) << index;  // W is 39.5
        EXPECT_TRUE(isWithin(index, -0.0157, -0.02174, 90)) << index;      // and 40.5
        const bool isCie = index == CqWhitenessCie || index == CqTintCie;
        EXPECT_EQ(isWithin(index, 0, -0.0035, 90), !isCie) << index;  // T is 2.275
        EXPECT_EQ(isWithin(index, 0, 0.0055, 90), isCie) << index;    // T is -3.575
    }
}

TEST(ColorIndex, WhatIsNotDefinedLeavesTheOutputsAlone) {
    const ColorData white{{95, 100, 108}};
    for (const auto& [code, answer] : {
             std::pair{16u, askIndex(6, 0, 0, white)},
             {16u, askIndex(0, 18, 0, white)},
             {16u, askIndex(0, 0, 2, white)},
             {16u, askIndex(0, 0, 0, {{10, 0, 10}})},
             {16u, askIndex(4, 0, 0, {{10, -1, 10}})},
             {16u, askIndex(4, 0, 0, {{-20, 10, 5}})},
             {17u, askIndex(CqWhitenessE313, IlluminantA, 0, white)},
             {17u, askIndex(CqYellownessE313, IlluminantD50, 0, white)},
             {17u, askIndex(CqYellownessD1925, IlluminantC, 1, white)},
         }) {
        EXPECT_EQ(answer.code, code);
        EXPECT_EQ(answer.value, kUntouched);
        EXPECT_TRUE(answer.isWithinLimits);
    }
    float value = kUntouched;
    EXPECT_EQ(cqGetColorIndex(CqWhitenessCie, 0, 0, &white, &value, nullptr), CQ_NO_ERROR);
    EXPECT_NE(value, kUntouched);
}

/// The reflectance with this ratio of absorption and scattering.
float reflectanceOf(double ratio) {
    return static_cast<float>(1 + ratio - std::sqrt(ratio * ratio + 2 * ratio));
}

struct Dyeings {
    Spectrum standard;
    Spectrum trial;  // `strength` times as strong
};

Dyeings dyeings(double strength) {
    Dyeings result;
    for (std::size_t i = 0; i < result.standard.size(); ++i) {
        const double ratio = 0.05 + 2.0 * std::exp(-std::pow((static_cast<double>(i) - 12) / 5, 2));
        result.standard[i] = reflectanceOf(ratio);
        result.trial[i] = reflectanceOf(strength * ratio);
    }
    return result;
}

std::pair<std::uint32_t, float> askStrength(std::uint32_t method, const Spectrum& standard,
                                            const Spectrum& trial, int illuminant = 0) {
    float percent = kUntouched;
    const std::uint32_t code =
        cqGetColorStrength(method, illuminant, 1, standard.data(), trial.data(), &percent);
    return {code, percent};
}

TEST(ColorStrength, IsTheRatioOfAbsorptionsByEveryMethod) {
    const auto [standard, trial] = dyeings(1.07);
    for (std::uint32_t method = 0; method < 3; ++method) {
        EXPECT_NEAR(askStrength(method, standard, trial, IlluminantF11).second, 107, 1e-3);
        EXPECT_NEAR(askStrength(method, trial, standard).second, 100 / 1.07, 1e-3);
    }
}

TEST(ColorStrength, CountsWeightsOfThePair) {
    Spectrum standard;
    standard.fill(0.5f);  // K/S 0.25
    Spectrum trial = standard;
    trial[20] = 0.25f;  // 600 nm: K/S 1.125
    // Weights at 600 nm, and of X, Y and Z from 400 to 700 nm, of D65 and 10 degrees (ASTM E308).
    const double sums = askStrength(CqStrengthWeighted, standard, trial).second;
    EXPECT_NEAR(sums, 100 + 350 * (8.672 + 5.079) / 302.0, 1e-2);
    EXPECT_FLOAT_EQ(askStrength(CqStrengthSingleWavelength, standard, trial).second, 100);
    standard[20] = standard[25] = 0.25f;  // the first of equals counts
    trial[25] = 0.1f;
    EXPECT_FLOAT_EQ(askStrength(CqStrengthSingleWavelength, standard, trial).second, 100);
}

TEST(ColorStrength, IsNotDefinedWithoutReflectionOrAbsorption) {
    Spectrum grey;
    grey.fill(0.4f);
    Spectrum dead = grey;
    dead[3] = 0;
    Spectrum white;
    white.fill(1.02f);  // above 1 nothing absorbs
    const std::pair<std::uint32_t, float> refused{16, kUntouched};
    for (std::uint32_t method = 0; method < 3; ++method) {
        EXPECT_EQ(askStrength(method, dead, grey), refused);
        EXPECT_EQ(askStrength(method, white, grey), refused);
        EXPECT_EQ(askStrength(method, grey, grey, -1), refused);
        EXPECT_EQ(askStrength(method, grey, white), (std::pair{0u, 0.0f}));
    }
    EXPECT_EQ(askStrength(CqStrengthSum, grey, dead), refused);
    EXPECT_EQ(askStrength(CqStrengthWeighted, grey, dead), refused);
    EXPECT_EQ(askStrength(3, grey, grey), refused);
}

std::pair<std::uint32_t, float> askMetamerism(std::uint32_t formula, std::uint32_t correction,
                                              int reference, int test, const Spectrum& standard,
                                              const Spectrum& trial) {
    float index = kUntouched;
    const std::uint32_t code = cqGetMetamerismIndex(formula, correction, reference, test, 1,
                                                    standard.data(), trial.data(), &index);
    return {code, index};
}

/// A grey and one that is much the same in daylight, with bands that are not.
struct Metamers {
    Spectrum standard;
    Spectrum trial;
};

Metamers metamers() {
    Metamers result;
    for (std::size_t i = 0; i < result.trial.size(); ++i) {
        result.standard[i] = 0.3f;
        result.trial[i] = 0.3f + 0.06f * static_cast<float>(std::sin(0.7 * static_cast<double>(i)));
    }
    return result;
}

TEST(Metamerism, IsWhatTheOtherFunctionsGiveStepByStep) {
    const auto [standard, trial] = metamers();
    const auto colorOf = [](const Spectrum& spectrum, std::uint32_t space, int illuminant) {
        ColorData color{};
        cqGetColorDataFromSpectralData(spectrum.data(), space, illuminant, 1, &color);
        return color;
    };
    for (const auto& [reference, test] :
         {std::pair{IlluminantD65, IlluminantA}, std::pair{IlluminantA, IlluminantF11}}) {
        const ColorData aim = colorOf(standard, ColorSpaceXyz, reference);
        const ColorData seen = colorOf(trial, ColorSpaceXyz, reference);
        ColorData xyz = colorOf(trial, ColorSpaceXyz, test);
        ColorData additive = colorOf(trial, ColorSpaceLab, test);
        const ColorData aimLab = colorOf(standard, ColorSpaceLab, reference);
        const ColorData seenLab = colorOf(trial, ColorSpaceLab, reference);
        for (std::size_t i = 0; i < 3; ++i) {
            xyz.values[i] *= aim.values[i] / seen.values[i];
            additive.values[i] += aimLab.values[i] - seenLab.values[i];
        }
        ColorData multiplicative{};
        cqGetColorDataFromXyz(test, 1, xyz.values, ColorSpaceLab, &multiplicative);
        const ColorData lab = colorOf(standard, ColorSpaceLab, test);
        for (std::uint32_t formula = 0; formula <= CqDeltaE99o; ++formula) {
            CqColorDifference first{};
            CqColorDifference second{};
            cqGetColorDifference(formula, nullptr, &lab, &multiplicative, &first);
            cqGetColorDifference(formula, nullptr, &lab, &additive, &second);
            EXPECT_GT(first.deltaE, 0.3);
            EXPECT_NEAR(askMetamerism(formula, 0, reference, test, standard, trial).second,
                        first.deltaE, 1e-3);
            EXPECT_NEAR(askMetamerism(formula, 1, reference, test, standard, trial).second,
                        second.deltaE, 1e-3);
        }
    }
}

TEST(Metamerism, IsNotDefinedForABlackTrial) {
    const Spectrum grey = metamers().standard;
    const Spectrum black{};
    const std::pair<std::uint32_t, float> refused{16, kUntouched};
    Spectrum unread = grey;
    unread[7] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(askMetamerism(0, 1, 0, 2, grey, unread), refused);
    EXPECT_EQ(askMetamerism(0, 0, 0, 2, grey, black), refused);
    EXPECT_EQ(askMetamerism(0, 1, 0, 2, grey, black).first, 0u);
    EXPECT_EQ(askMetamerism(7, 0, 0, 2, grey, grey), refused);
    EXPECT_EQ(askMetamerism(0, 2, 0, 2, grey, grey), refused);
    EXPECT_EQ(askMetamerism(0, 0, 18, 2, grey, grey), refused);
    EXPECT_EQ(askMetamerism(0, 0, 0, -1, grey, grey), refused);
}

struct Rating {
    float rating = kUntouched;
    float step = kUntouched;
};

Rating rate(std::uint32_t scale, const ColorData& standard, const ColorData& trial) {
    Rating result;
    EXPECT_EQ(cqGetGreyScaleRating(scale, &standard, &trial, &result.rating, &result.step), 0u);
    return result;
}

TEST(GreyScale, ThePairsOfTheScalesHaveTheirOwnSteps) {
    // The differences of the scales' grey pairs, of 5, 4-5, 4 ... 1: ISO 105-A02 and A03.
    constexpr float kChange[]{0, 0.8f, 1.7f, 2.5f, 3.4f, 4.8f, 6.8f, 9.6f, 13.6f};
    constexpr float kStaining[]{0, 2.2f, 4.3f, 6.0f, 8.5f, 12.0f, 16.9f, 24.0f, 34.1f};
    for (std::size_t i = 0; i < 9; ++i) {
        const float step = 5.0f - 0.5f * static_cast<float>(i);
        const Rating change = rate(CqGreyScaleChange, {{40, 0, 0}}, {{40 + kChange[i], 0, 0}});
        EXPECT_EQ(change.step, step);
        EXPECT_NEAR(change.rating, step, 0.05);
        const Rating staining =
            rate(CqGreyScaleStaining, {{95, 0, 0}}, {{95 - kStaining[i], 0, 0}});
        EXPECT_EQ(staining.step, step);
        EXPECT_NEAR(staining.rating, step, 0.05);
    }
}

// The largest difference of each step: ISO 105-A05.
TEST(GreyScale, StepsChangeWhereTheStandardSays) {
    float step = 5.0f;
    for (const float largest : {0.40f, 1.25f, 2.10f, 2.95f, 4.10f, 5.80f, 8.20f, 11.60f}) {
        EXPECT_EQ(rate(CqGreyScaleChange, {}, {{largest - 0.01f, 0, 0}}).step, step);
        step -= 0.5f;
        EXPECT_EQ(rate(CqGreyScaleChange, {}, {{largest + 0.01f, 0, 0}}).step, step);
    }
}

TEST(GreyScale, ColorCountsAsTheFormulasSay) {
    struct Case {
        ColorData standard;
        ColorData trial;
        float change, changeStep, staining, stainingStep;
    };
    // Worked out by hand; the first is blue, the second lies across hue 0.
    for (const Case& c : {
             Case{{{40, 10, -45}}, {{44, 6, -38}}, 2.50815f, 2.5f, 3.55735f, 3.5f},
             Case{{{50, 30, -4}}, {{50, 33, 8}}, 1.30398f, 1.5f, 3.19363f, 3.0f},
             Case{{{30, 0, 0}}, {{34, 3, 3}}, 2.22318f, 2.0f, 4.04920f, 4.0f},
             Case{{{50, 60, 30}}, {{55, 50, 28}}, 2.03396f, 2.0f, 3.22184f, 3.0f},
         }) {
        const Rating change = rate(CqGreyScaleChange, c.standard, c.trial);
        EXPECT_NEAR(change.rating, c.change, 2e-5);
        EXPECT_EQ(change.step, c.changeStep);
        const Rating staining = rate(CqGreyScaleStaining, c.standard, c.trial);
        EXPECT_NEAR(staining.rating, c.staining, 2e-5);
        EXPECT_EQ(staining.step, c.stainingStep);
    }
    EXPECT_EQ(rate(CqGreyScaleChange, {{0, 0, 0}}, {{100, 0, 0}}).rating, 1.0f);
    const Rating stain = rate(CqGreyScaleStaining, {{0, 0, 0}}, {{100, 0, 0}});
    EXPECT_LT(stain.rating, 0);
    EXPECT_EQ(stain.step, 1.0f);
    // 4.745 rounds up to 4.75, the next below it does not.
    EXPECT_EQ(rate(CqGreyScaleStaining, {{0, 0, 0}}, {{1.1086f, 0, 0}}).step, 5.0f);
    EXPECT_EQ(rate(CqGreyScaleStaining, {{0, 0, 0}}, {{1.1090f, 0, 0}}).step, 4.5f);
    Rating untouched;
    const ColorData color{};
    EXPECT_EQ(cqGetGreyScaleRating(2, &color, &color, &untouched.rating, &untouched.step), 16u);
    const ColorData none{{std::numeric_limits<float>::quiet_NaN(), 0, 0}};
    for (const std::uint32_t scale : {CqGreyScaleChange, CqGreyScaleStaining}) {
        EXPECT_EQ(cqGetGreyScaleRating(scale, &color, &none, &untouched.rating, &untouched.step),
                  16u);
    }
    EXPECT_EQ(untouched.rating, kUntouched);
    EXPECT_EQ(untouched.step, kUntouched);
}

}  // namespace

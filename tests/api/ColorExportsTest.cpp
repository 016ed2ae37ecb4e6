// The colour exports where the formulas have corners: zeros, neutrals, clamping, selectors.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

#include "color/WeightingTable.h"
#include "cqapi/CQApi.h"

namespace {

using ::testing::Each;
using Triple = std::array<float, 3>;
using Spectrum = std::array<float, 31>;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr Triple kUntouchedTriple{-7.0f, -8.0f, -9.0f};
constexpr Triple kZeros{};

struct Answer {
    std::uint32_t code;
    Triple values;
};

/// Calls one of the exports with an output that holds kUntouchedTriple.
template <typename Export>
Answer ask(Export export_) {
    ColorData color{{kUntouchedTriple[0], kUntouchedTriple[1], kUntouchedTriple[2]}};
    const std::uint32_t code = export_(&color);
    return {code, {color.values[0], color.values[1], color.values[2]}};
}

Answer askFromSpectrum(const Spectrum& spectrum, std::uint32_t space, int illuminant = 0,
                       int observer = 0) {
    return ask([&](ColorData* color) {
        return cqGetColorDataFromSpectralData(spectrum.data(), space, illuminant, observer, color);
    });
}

Answer askFromXyz(const Triple& xyz, std::uint32_t space, int illuminant = 0, int observer = 0) {
    return ask([&](ColorData* color) {
        return cqGetColorDataFromXyz(illuminant, observer, xyz.data(), space, color);
    });
}

Answer askFromLab(const Triple& lab, std::uint32_t space, int illuminant = 0, int observer = 0) {
    return ask([&](ColorData* color) {
        return cqGetColorDataFromLab(illuminant, observer, lab.data(), space, color);
    });
}

/// The values of an answer that must be a success.
Triple values(const Answer& answer) {
    EXPECT_EQ(answer.code, CQ_NO_ERROR);
    return answer.values;
}

void expectNear(const Triple& actual, const Triple& expected, float tolerance) {
    for (std::size_t i = 0; i < actual.size(); ++i) {
        EXPECT_NEAR(actual[i], expected[i], tolerance) << "value " << i;
    }
}

Spectrum flat(float reflectance) {
    Spectrum spectrum;
    spectrum.fill(reflectance);
    return spectrum;
}

TEST(ColorExports, UnassignedSpacesAnswer18AndLeaveTheOutputAlone) {
    for (const std::uint32_t space : {7u, 10u, 0xFFFFFFFFu}) {
        const Triple some{20.0f, 30.0f, 40.0f};
        for (const Answer& answer : {askFromSpectrum(flat(0.5f), space), askFromXyz(some, space),
                                     askFromLab(some, space)}) {
            EXPECT_EQ(answer.code, 18u) << space;
            EXPECT_EQ(answer.values, kUntouchedTriple) << space;
        }
    }
}

TEST(ColorExports, UnknownViewingAnswers16AndLeavesTheOutputAlone) {
    const Triple some{20.0f, 30.0f, 40.0f};
    for (const auto& [illuminant, observer] :
         {std::pair{-1, 0}, {18, 0}, {18, 1}, {0, -1}, {0, 2}, {-18, 1}, {INT32_MIN, INT32_MAX}}) {
        for (const std::uint32_t space : {ColorSpaceLab, ColorSpaceLch}) {
            for (const Answer& answer : {askFromSpectrum(flat(0.5f), space, illuminant, observer),
                                         askFromXyz(some, space, illuminant, observer),
                                         askFromLab(some, space, illuminant, observer)}) {
                EXPECT_EQ(answer.code, 16u) << illuminant << ", " << observer;
                EXPECT_EQ(answer.values, kUntouchedTriple) << illuminant << ", " << observer;
            }
        }
    }
}

TEST(ColorExports, WriteTwelveBytesAtAnyAddress) {
    std::array<unsigned char, 1 + sizeof(ColorData) + 1> memory;
    memory.fill(0xA5);
    const Triple lab{20.0f, -30.0f, 40.0f};
    auto* color = reinterpret_cast<ColorData*>(&memory[1]);
    ASSERT_EQ(cqGetColorDataFromLab(0, 0, lab.data(), ColorSpaceLab, color), CQ_NO_ERROR);
    EXPECT_EQ(std::memcmp(&memory[1], lab.data(), sizeof lab), 0);
    EXPECT_EQ(memory.front(), 0xA5);
    EXPECT_EQ(memory.back(), 0xA5);
}

TEST(ColorExports, ZeroSumsGiveZeros) {
    const Triple cancelling{1.0f, -2.0f, 1.0f};
    for (const std::uint32_t space : {ColorSpaceLab, ColorSpaceYxy, ColorSpaceLch, ColorSpaceLuv,
                                      ColorSpaceHunterLab, ColorSpaceSrgb, ColorSpaceYxyUnit}) {
        EXPECT_EQ(values(askFromXyz(kZeros, space)), kZeros) << space;
        EXPECT_EQ(values(askFromXyz(cancelling, space)), kZeros) << space;
    }
    EXPECT_EQ(values(askFromLab(kZeros, ColorSpaceXyz)), kZeros);
    EXPECT_EQ(values(askFromLab(kZeros, ColorSpaceLch)), kZeros);
    EXPECT_EQ(values(askFromSpectrum(flat(0.0f), ColorSpaceXyz, IlluminantF2)), kZeros);
}

TEST(ColorExports, TheWhiteOfEachPairIsNeutralAndFull) {
    const Triple fullNeutral{100.0f, 0.0f, 0.0f};
    for (int observer = 0; observer < 2; ++observer) {
        for (int illuminant = 0; illuminant < 18; ++illuminant) {
            const Triple white = ovk::color::whitePoint({illuminant, observer});
            for (const std::uint32_t space : {ColorSpaceLab, ColorSpaceLuv, ColorSpaceHunterLab}) {
                EXPECT_EQ(values(askFromXyz(white, space, illuminant, observer)), fullNeutral)
                    << "space " << space << ", illuminant " << illuminant;
            }
            EXPECT_EQ(values(askFromLab(fullNeutral, ColorSpaceXyz, illuminant, observer)), white);
        }
    }
}

TEST(ColorExports, HueIsRightOnTheAxesAndNearNeutral) {
    constexpr float kEpsilon = 1e-6f;
    struct Case {
        float a, b, hue;
    };
    for (const Case& c : {
             Case{5.0f, 0.0f, 0.0f},
             Case{0.0f, 5.0f, 90.0f},
             Case{-5.0f, 0.0f, 180.0f},
             Case{0.0f, -5.0f, 270.0f},
             Case{100.0f, -0.5f, 359.71353f},
             Case{0.0f, 0.0f, 0.0f},
             // Less than the threshold counts as nothing, the threshold itself does not.
             Case{-0.9f * kEpsilon, 0.9f * kEpsilon, 0.0f},
             Case{-kEpsilon, 0.9f * kEpsilon, 180.0f},
             Case{0.9f * kEpsilon, kEpsilon, 90.0f},
             Case{kEpsilon, kEpsilon, 45.0f},
             Case{-5.0f, -0.9f * kEpsilon, 180.0f},
             Case{-0.9f * kEpsilon, -5.0f, 270.0f},
         }) {
        const Triple lch = values(askFromLab({50.0f, c.a, c.b}, ColorSpaceLch));
        EXPECT_EQ(lch[0], 50.0f);
        EXPECT_FLOAT_EQ(lch[1], std::hypot(c.a, c.b));
        EXPECT_FLOAT_EQ(lch[2], c.hue) << "a* " << c.a << ", b* " << c.b;
    }
}

TEST(ColorExports, HunterLabWithoutLuminanceIsInfinite) {
    EXPECT_EQ(values(askFromXyz({10.0f, 0.0f, 10.0f}, ColorSpaceHunterLab)),
              (Triple{0.0f, kInfinity, -kInfinity}));
    const Triple blueOnly = values(askFromXyz({0.0f, 0.0f, 10.0f}, ColorSpaceHunterLab));
    EXPECT_TRUE(std::isnan(blueOnly[1]));
    EXPECT_EQ(blueOnly[2], -kInfinity);
}

TEST(ColorExports, SrgbIsClampedAndLinearInTheDark) {
    EXPECT_EQ(values(askFromLab({100.0f, 100.0f, 100.0f}, ColorSpaceSrgb))[0], 1.0f);
    EXPECT_EQ(values(askFromLab({30.0f, -100.0f, 60.0f}, ColorSpaceSrgb))[0], 0.0f);
    EXPECT_THAT(values(askFromLab({150.0f, 0.0f, 0.0f}, ColorSpaceSrgb)), Each(1.0f));
    EXPECT_THAT(values(askFromLab({-20.0f, 0.0f, 0.0f}, ColorSpaceSrgb)), Each(0.0f));
    // L* = 1 is a luminance of 27 / 24389; the D50 white is (1, 1, 1) whatever the illuminant.
    const float dark = 12.92f * 27.0f / 24389.0f;
    expectNear(values(askFromLab({1.0f, 0.0f, 0.0f}, ColorSpaceSrgb)), {dark, dark, dark}, 1e-6f);
    expectNear(values(askFromLab({100.0f, 0.0f, 0.0f}, ColorSpaceSrgb, IlluminantA)),
               {1.0f, 1.0f, 1.0f}, 1e-5f);
}

}  // namespace

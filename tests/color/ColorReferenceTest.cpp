// Compares what the exports give with colours computed in double precision by reference.py.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <fstream>
#include <numbers>
#include <sstream>
#include <string>
#include <vector>

#include "cqapi/CQApi.h"

namespace {

using Expected = std::array<double, 3>;

struct Space {
    const char* name;
    std::uint32_t selector;
    std::array<double, 3> tolerance;
};

constexpr std::array<Space, 9> kSpaces{{
    {"Lab", ColorSpaceLab, {3e-4, 3e-4, 3e-4}},
    {"XYZ", ColorSpaceXyz, {1e-4, 1e-4, 1e-4}},
    {"Yxy", ColorSpaceYxy, {1e-4, 2e-6, 2e-6}},
    {"LCh", ColorSpaceLch, {3e-4, 3e-4, 3e-4}},
    {"Luv", ColorSpaceLuv, {5e-4, 5e-4, 5e-4}},
    {"Hunter Lab", ColorSpaceHunterLab, {3e-4, 3e-4, 3e-4}},
    {"sRGB", ColorSpaceSrgb, {1e-5, 1e-5, 1e-5}},
    {"Yxy of 1", ColorSpaceYxyUnit, {2e-6, 2e-6, 2e-6}},
    {"DIN99", ColorSpaceDin99, {3e-4, 3e-4, 3e-4}},
}};

constexpr std::size_t kPatches = 25;
constexpr std::size_t kPairs = 36;

/// One line of the reference file.
struct Case {
    std::string kind;
    std::string patch;
    std::int32_t illuminant = -1;
    std::int32_t observer = -1;
    std::vector<float> input;
    std::array<Expected, kSpaces.size()> expected{};

    std::string description() const {
        return patch + " from " + kind + ", illuminant " + std::to_string(illuminant) +
               ", observer " + std::to_string(observer);
    }
};

Case parse(const std::string& line) {
    std::istringstream stream(line);
    const auto next = [&stream] {
        std::string field;
        std::getline(stream, field, ',');
        return field;
    };
    Case result{next(), next(), std::stoi(next()), std::stoi(next()), {}};
    result.input.resize(result.kind == "spectrum" ? 31 : 3);
    for (float& value : result.input) {
        value = std::stof(next());
    }
    for (Expected& triple : result.expected) {
        for (double& value : triple) {
            value = std::stod(next());
        }
    }
    return result;
}

std::vector<Case> readCases() {
    std::ifstream file(COLOR_REFERENCE_FILE);
    std::vector<Case> cases;
    for (std::string line; std::getline(file, line);) {
        cases.push_back(parse(line));
    }
    return cases;
}

std::uint32_t convert(const Case& given, std::uint32_t space, ColorData& color) {
    const float* input = given.input.data();
    if (given.kind == "spectrum") {
        return cqGetColorDataFromSpectralData(input, space, given.illuminant, given.observer,
                                              &color);
    }
    const auto function = given.kind == "xyz" ? cqGetColorDataFromXyz : cqGetColorDataFromLab;
    return function(given.illuminant, given.observer, input, space, &color);
}

/// How far a hue is off, in degrees. Close to neutral an error of a* or b* that is within its own
/// tolerance turns the hue by any angle, so there it counts as the distance that it moves the
/// colour.
double hueError(double actual, const Expected& expected) {
    constexpr double kNearNeutral = 10.0;
    const double difference = std::fabs(std::remainder(actual - expected[2], 360.0));
    const double chroma = expected[1];
    return chroma < kNearNeutral ? difference * std::numbers::pi / 180.0 * chroma : difference;
}

TEST(ColorReference, EverySpaceFromEveryInputIsWithinItsTolerance) {
    const auto cases = readCases();
    ASSERT_EQ(cases.size(), 3 * kPatches * kPairs) << "in " << COLOR_REFERENCE_FILE;

    for (const Case& given : cases) {
        SCOPED_TRACE(given.description());
        for (std::size_t i = 0; i < kSpaces.size(); ++i) {
            const Space& space = kSpaces[i];
            const Expected& expected = given.expected[i];
            ColorData color{};
            ASSERT_EQ(convert(given, space.selector, color), CQ_NO_ERROR) << space.name;
            for (std::size_t k = 0; k < expected.size(); ++k) {
                const double actual = color.values[k];
                const bool isHue = space.selector == ColorSpaceLch && k == 2;
                ASSERT_LE(isHue ? hueError(actual, expected) : std::fabs(actual - expected[k]),
                          space.tolerance[k])
                    << space.name << ", coordinate " << k;
            }
        }
    }
}

}  // namespace

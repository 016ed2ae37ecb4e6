// What the comparison with reference.py is too coarse for. (The tables are held against their files, and
// these against their method, by scripts of their own.)

#include <gtest/gtest.h>

#include <array>

#include "color/Integration.h"

namespace ovk::color {
namespace {

TEST(ColorSums, RoundProductsToSinglePrecisionButNotSums) {
    constexpr float kEpsilon = 1.1920929e-7f;  // 1 + kEpsilon is next to 1
    const std::array<float, 3> samples{1.0f + kEpsilon, 1e8f, 1.0f};
    // X: (1 + e)^2 - (1 + 2e); Y: 1 + e + 1e8 - 1e8
    const std::array<float, 9> weights{1.0f + kEpsilon,         1.0f,  0.0f, 0.0f, 1.0f, 0.0f,
                                       -1.0f - 2.0f * kEpsilon, -1e8f, 0.0f};
    EXPECT_EQ(weightedSums(samples, weights), (Tristimulus{0.0, 1.0 + kEpsilon, 0.0}));
    EXPECT_EQ(weightedSums({}, {}), Tristimulus{});
}

}  // namespace
}  // namespace ovk::color

#include "color/Integration.h"

#include "color/Resampling.h"

namespace ovk::color {
namespace {

constexpr std::int32_t kIlluminantF2 = 7;
constexpr std::int32_t kIlluminantF12 = 17;

}  // namespace

Tristimulus weightedSums(std::span<const float> samples, std::span<const float> weights) {
    // Products are rounded to single precision on purpose, sums are not.
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    const float* weight = weights.data();
    for (const float sample : samples) {
        x += static_cast<double>(sample * weight[0]);
        y += static_cast<double>(sample * weight[1]);
        z += static_cast<double>(sample * weight[2]);
        weight += 3;
    }
    return {x, y, z};
}

Tristimulus integrate(Spectrum reflectance, Viewing viewing) {
    const std::size_t index = viewing.tableIndex();
    const bool hasNarrowLines =
        viewing.illuminant >= kIlluminantF2 && viewing.illuminant <= kIlluminantF12;
    return hasNarrowLines
               ? weightedSums(resampleSpline(reflectance), kWeightingTables5nm[index].weights)
               : weightedSums(resampleHeld(reflectance), kWeightingTables10nm[index].weights);
}

}  // namespace ovk::color

#pragma once

#include <array>
#include <cstddef>

#include "color/Spectrum.h"

namespace cqtool {

/// A patch of the 24-patch colour chart, with its typical reflectance.
struct ChartPatch {
    const char* name;
    Spectrum reflectance;
};

inline constexpr std::size_t kChartPatchCount = 24;
inline constexpr std::size_t kChartColumns = 6;

/// From the top left to the bottom right, row by row.
extern const std::array<ChartPatch, kChartPatchCount> kChartPatches;

}  // namespace cqtool

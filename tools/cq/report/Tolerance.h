#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "colour/ColorMath.h"

namespace cqtool {

/// Which colour difference decides.
enum class DifferenceFormula { ab, ciede2000 };

/// The formula called "ab" or "00"; throws UsageError for another name.
DifferenceFormula differenceFormulaNamed(std::string_view name);

/// "ab" or "00".
const char* nameOf(DifferenceFormula formula);

double difference(DifferenceFormula formula, const ColorData& standard, const ColorData& trial);

/// A difference in a* and b*.
using AbOffset = std::array<double, 2>;

/// The colours of the standard's own lightness that are as far from it as the tolerance, as offsets
/// from it, once around: for ΔE*ab a circle, for ΔE00 the ellipse that the formula's weights at the
/// standard give. The ellipse is exact for small tolerances; a trial's own ΔE00 takes the weights
/// midway, so that near the line it may decide otherwise.
std::vector<AbOffset> toleranceOutline(DifferenceFormula formula, const ColorData& standard,
                                       double tolerance);

}  // namespace cqtool

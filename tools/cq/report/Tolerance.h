#pragma once

#include <array>
#include <vector>

#include "color/Difference.h"

namespace cqtool {

/// A difference in a* and b*.
using AbOffset = std::array<double, 2>;

/// The colours of the standard's own lightness that are as far from it as the tolerance, as offsets
/// from it, once around: for ΔE*ab a circle, else the ellipse that the formula gives of small
/// differences from the standard. A trial's own difference may take weights midway, so that near
/// the line it may decide otherwise.
std::vector<AbOffset> toleranceOutline(const DifferenceFormula& formula, const ColorData& standard,
                                       double tolerance);

}  // namespace cqtool

#pragma once

#include <string>
#include <vector>

#include "colour/ColorMath.h"
#include "report/Tolerance.h"

namespace cqtool {

/// A mark in a plot of a* and b*.
struct AbMark {
    AbOffset place;
    Rgb color;
    std::string cssClass;  ///< "standard", "trial", "trial out": the look by the page's style
    std::string name;      ///< shown when pointed at; plain text
};

/// What a plot shows: marks, and outlines that are drawn under them.
struct AbPlot {
    std::vector<AbMark> marks;
    std::vector<std::vector<AbOffset>> outlines;
    std::string horizontal;  ///< what the axes are called
    std::string vertical;
};

/// An inline SVG drawing of the plane with 0 in its middle, on a scale that shows everything.
/// \param description what a screen reader says, without markup characters.
std::string abPlotSvg(const AbPlot& plot, const std::string& description);

}  // namespace cqtool

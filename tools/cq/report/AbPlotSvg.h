#pragma once

#include <string>
#include <vector>

#include "color/ColorMath.h"
#include "report/Tolerance.h"

namespace cqtool {

/// A mark in a plot of a* and b*.
struct AbMark {
    AbOffset place;
    Rgb color;
    std::string cssClass;  ///< "standard", "trial", "trial out": a class of the page's style
    std::string name;      ///< shown as a tooltip; plain text
};

/// The content of a plot: marks, and outlines that are drawn under them.
struct AbPlot {
    std::vector<AbMark> marks;
    std::vector<std::vector<AbOffset>> outlines;
    std::string horizontal;  ///< the axes' names
    std::string vertical;
};

/// An inline SVG drawing of the plane with 0 in its centre, on a scale that shows everything.
/// \param description for screen readers, without markup characters.
std::string abPlotSvg(const AbPlot& plot, const std::string& description);

}  // namespace cqtool

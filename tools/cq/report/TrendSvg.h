#pragma once

#include <optional>
#include <string>
#include <vector>

#include "job/Limit.h"

namespace cqtool {

/// A trial's value in a trend.
struct TrendPoint {
    double value = 0;
    std::optional<Grade> grade;
    std::string name;  ///< shown as a tooltip; plain text
};

/// A line across a trend, at a limit.
struct TrendLine {
    double value = 0;
    bool isWarning = false;
};

/// An inline SVG drawing of values in the order of the trials. Marks differ by their shape, too:
/// round ones pass, triangles are warned of, crosses fail.
/// \param description for screen readers, without markup characters.
std::string trendSvg(const std::vector<TrendPoint>& points, const std::vector<TrendLine>& lines,
                     const std::string& description);

}  // namespace cqtool

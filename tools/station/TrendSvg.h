#pragma once

#include <optional>
#include <string>
#include <vector>

namespace station {

struct TrendPoint {
    double value = 0;
    bool hasFailed = false;
    std::string name;  ///< shown as a tooltip; plain text
};

/// An inline SVG drawing of values in their order, from 0, in the classes of a report's drawings.
/// \param points at least one.
/// \param limit is drawn as a line.
/// \param title what the values are, without markup characters.
std::string trendSvg(const std::vector<TrendPoint>& points, std::optional<double> limit,
                     const std::string& title);

}  // namespace station

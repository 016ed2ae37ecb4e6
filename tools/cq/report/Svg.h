#pragma once

#include <string>

namespace cqtool {

/// The first of 1, 2, 5 times a power of ten that is not below the value.
double roundStep(double value);

// Elements of a drawing, in its own units.
std::string svgLine(const char* cssClass, double x1, double y1, double x2, double y2);
/// \param anchor start, middle or end.
std::string svgLabel(double x, double y, const char* anchor, const std::string& text);

/// A whole drawing, which the page scales. \param cssClass none if empty.
std::string svgDrawing(const std::string& cssClass, double width, double height,
                       const std::string& description, const std::string& content);

}  // namespace cqtool

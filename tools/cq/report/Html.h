#pragma once

#include <string>

#include "color/ColorMath.h"

namespace cqtool {

/// The text as it may be shown, with the characters that mean something in HTML replaced.
std::string escaped(const std::string& text);

/// \param content HTML.
/// \param cssClass none if empty.
std::string element(const char* name, const std::string& content, const char* cssClass = "");

/// A swatch of this colour.
std::string swatch(const Rgb& color);

/// A prominent number or word above its caption.
/// \param caption HTML.
std::string figure(const std::string& value, const std::string& caption);

/// An item of a legend: a line in the style of this class, then the text.
std::string legendKey(const char* cssClass, const std::string& text);

/// The same with a mark as a plot has it, and with the line only if asked for.
std::string markKey(const char* cssClass, const std::string& text, bool hasLine);

/// A whole page that needs nothing else. \param style what the page adds to the common style sheet.
/// \param body HTML.
std::string htmlPage(const std::string& title, const std::string& style, const std::string& body);

}  // namespace cqtool

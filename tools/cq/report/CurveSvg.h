#pragma once

#include <string>
#include <vector>

#include "colour/Spectrum.h"

namespace cqtool {

/// A curve of a drawing; its look is given by the page's style for this class.
struct SvgCurve {
    const Spectrum& spectrum;
    std::string cssClass;
};

/// An inline SVG drawing of spectra over one scale, those that come first underneath.
/// \param description what a screen reader says, without markup characters.
/// \param curves at least one.
std::string curveSvg(const std::vector<SvgCurve>& curves, const std::string& description);

}  // namespace cqtool

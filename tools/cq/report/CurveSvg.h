#pragma once

#include <string>
#include <vector>

#include "color/Spectrum.h"

namespace cqtool {

/// A curve of a drawing, in the page's style for this class.
struct SvgCurve {
    const Spectrum& spectrum;
    std::string cssClass;
};

/// An inline SVG drawing of spectra on one scale, the first of them underneath.
/// \param description for screen readers, without markup characters.
/// \param curves at least one.
std::string curveSvg(const std::vector<SvgCurve>& curves, const std::string& description);

}  // namespace cqtool

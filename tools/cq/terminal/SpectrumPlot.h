#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "color/Spectrum.h"

namespace cqtool {

/// Draws the curve with braille dots, two by four to a character, between a scale of reflectance
/// and one of wavelengths. Reflectances beyond the scale are drawn at its edge.
/// \param columns,rows the size of the curve in characters, without the scales; at least 16 and 2.
std::vector<std::string> plotSpectrum(const Spectrum& spectrum, std::size_t columns,
                                      std::size_t rows);

/// The spectrum in numbers, eight to a line with their wavelengths, where a curve cannot be shown.
std::vector<std::string> listSpectrum(const Spectrum& spectrum);

}  // namespace cqtool

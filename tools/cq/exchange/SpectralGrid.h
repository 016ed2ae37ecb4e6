#pragma once

#include <span>
#include <string>

#include "color/Spectrum.h"

namespace cqtool {

/// The wavelengths of a spectrum in a file: evenly spaced, in nm.
struct SpectralGrid {
    double first = kFirstWavelength;
    double step = kWavelengthStep;
};

/// The values from 400 to 700 nm in steps of 10 nm among those of a spectrum, which may reach
/// further and be finer; nothing is interpolated.
/// \param scale what they are multiplied by: 0.01 for percent.
/// \param where what messages begin with.
/// Throws Failure for a grid without one of these wavelengths, and for a value that is not a
/// reflectance.
Spectrum spectrumOnGrid(std::span<const double> values, const SpectralGrid& grid, double scale,
                        const std::string& where);

}  // namespace cqtool

#include "exchange/SpectralGrid.h"

#include <cmath>

#include "exchange/Formats.h"
#include "Failure.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr double kSameWavelength = 1e-3;  // nm

std::string gridText(std::size_t count, const SpectralGrid& grid) {
    return counted(count, "values") + " from " + digitsOf(grid.first) + " nm in steps of " +
           digitsOf(grid.step) + " nm";
}

}  // namespace

Spectrum spectrumOnGrid(std::span<const double> values, const SpectralGrid& grid, double scale,
                        const std::string& where) {
    Spectrum spectrum;
    for (std::size_t i = 0; i < spectrum.size(); ++i) {
        const double place = std::round((wavelength(i) - grid.first) / grid.step);
        const bool isThere =
            grid.step > 0 && place >= 0 && place < static_cast<double>(values.size()) &&
            std::abs(grid.first + place * grid.step - wavelength(i)) < kSameWavelength;
        if (!isThere) {
            throw Failure(where + " has " + gridText(values.size(), grid) + ", and so nothing at " +
                              std::to_string(wavelength(i)) + " nm",
                          "give spectra that have 400 to 700 nm in steps of 10 nm; they may have "
                          "more");
        }
        const double value = values[static_cast<std::size_t>(place)];
        checkReflectance(value * scale, where + " with " + digitsOf(value) + " at " +
                                            std::to_string(wavelength(i)) + " nm");
        spectrum[i] = static_cast<float>(value * scale);
    }
    return spectrum;
}

}  // namespace cqtool

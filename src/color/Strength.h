#pragma once

#include <cstdint>
#include <optional>

#include "color/Spectrum.h"
#include "color/WeightingTable.h"

namespace ovk::color {

enum class StrengthMethod : std::uint32_t {
    singleWavelength = 0,
    sum = 1,
    weighted = 2,
};

inline constexpr std::uint32_t kStrengthMethods = 3;

/// Relative colour strength of a trial in percent of the standard's, from the ratio K/S of
/// absorption and scattering (Kubelka and Munk): at the wavelength at which the standard absorbs
/// most, of the sums over all wavelengths, or of the sums weighted by what the observer sees.
/// Nothing where K/S is not defined, a reflectance of 0 or less, or the standard's is 0.
/// \param viewing whose weights count; the first two methods have none.
std::optional<double> strengthOf(StrengthMethod method, Viewing viewing, Spectrum standard,
                                 Spectrum trial);

}  // namespace ovk::color

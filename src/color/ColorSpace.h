#pragma once

#include <cstdint>

#include "color/Spectrum.h"
#include "color/WeightingTable.h"

/// \file
/// From a spectrum, tristimulus values or Lab to the colour space that is asked for.

namespace ovk::color {

enum class ColorSpace : std::uint32_t {
    lab = 0,
    xyz = 1,
    yxy = 2,
    lch = 3,
    luv = 4,
    hunterLab = 5,
    srgb = 6,
    yxyUnit = 8,
    din99 = 9,
};

// Each writes the result and returns true, or false with the result untouched when the colour space
// is none of the above.

bool fromXyz(const Triple& xyz, Viewing viewing, ColorSpace space, Triple& result);
bool fromLab(const Triple& lab, Viewing viewing, ColorSpace space, Triple& result);
bool fromReflectance(Spectrum reflectance, Viewing viewing, ColorSpace space, Triple& result);

}  // namespace ovk::color

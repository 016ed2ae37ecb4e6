#pragma once

#include "color/WeightingTable.h"

/// \file
/// Conversions between colour spaces, in single precision. X, Y and Z are on the scale with Y = 100
/// for the perfect white. Where a formula has no value (a division by zero), the result is infinite
/// or not a number; the only guards are those stated here.

namespace ovk::color {

/// CIE 1976 L*, a*, b* (CIE 15:2004, 8.2.1). Zeros if X + Y + Z is zero.
Triple xyzToLab(const Triple& xyz, const Triple& white);

/// The inverse of xyzToLab (CIE 15:2004, annex D). Zeros give zeros.
Triple labToXyz(const Triple& lab, const Triple& white);

/// Y and the chromaticity coordinates x and y (CIE 15:2004, 7.3). Zeros if X + Y + Z is zero.
Triple xyzToYxy(const Triple& xyz);

/// L*, chroma C*ab and hue angle hab in degrees (CIE 15:2004, 8.2.1). The hue of a neutral is 0. It
/// is below 360, except that an angle just below 0 may round up to 360.
Triple labToLch(const Triple& lab);

/// CIE 1976 L*, u*, v* (CIE 15:2004, 8.2.2). Zeros if X + Y + Z is zero.
Triple xyzToLuv(const Triple& xyz, const Triple& white);

/// Hunter L, a, b (Hunter and Harold, The Measurement of Appearance, 2nd edition, 1987), with the
/// published coefficients for the usual illuminants and coefficients computed from the white for
/// the others. Zeros if X + Y + Z is zero.
Triple xyzToHunterLab(const Triple& xyz, Viewing viewing);

/// sRGB (IEC 61966-2-1), each channel clamped to 0..1. The Lab triple is taken as relative to D50
/// and 2 degrees, whatever it was computed for: an adaptation of the white through Lab.
Triple labToSrgb(const Triple& lab);

/// L99, a99, b99 (DIN 6176:2001). a99 and b99 of a neutral are not a number.
Triple labToDin99(const Triple& lab);

}  // namespace ovk::color

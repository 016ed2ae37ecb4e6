#pragma once

#include "color/Difference.h"

namespace ovk::color {

/// CIEDE2000 (ISO/CIE 11664-6, CIE 142-2001) after Sharma, Wu and Dalal, Color Research and
/// Application 30 (2005). Symmetric.
double ciede2000(const Factors& factors, const Lab& standard, const Lab& trial);

}  // namespace ovk::color

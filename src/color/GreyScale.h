#pragma once

#include <cstdint>

#include "color/Lab.h"

/// \file
/// Ratings of the grey scales for colour fastness, computed. 5 is no difference.

namespace ovk::color {

struct GreyScaleRating {
    /// As the formula gives it.
    double rating;
    /// 5, 4.5, 4 ... 1; half steps are written 4-5, 3-4 ...
    double step;
};

/// How much a specimen has changed its colour (ISO 105-A05:1996). At least 1.
GreyScaleRating ratingOfChange(const Lab& standard, const Lab& trial);

/// How much an adjacent fabric has been stained (ISO 105-A04:1989). Less than 1 for a stain beyond
/// the scale.
GreyScaleRating ratingOfStaining(const Lab& standard, const Lab& trial);

}  // namespace ovk::color

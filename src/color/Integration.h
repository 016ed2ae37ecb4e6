#pragma once

#include <span>

#include "color/Lab.h"
#include "color/Spectrum.h"
#include "color/WeightingTable.h"

namespace ovk::color {

/// The sums over a table's weights (X, Y and Z in turn) times the samples of its wavelengths. No
/// samples give zeros. `weights` must be three times as many as `samples`.
Tristimulus weightedSums(std::span<const float> samples, std::span<const float> weights);

/// The tristimulus values of a reflectance spectrum (1.0: the perfect white, which has Y = 100) by
/// weighted summation from 360 to 780 nm (ASTM E308). F2 to F12, whose lines are narrow, are summed
/// every 5 nm, for which the spectrum is resampled by a spline; all others every 10 nm, the
/// spectrum's end values held beyond its ends.
Tristimulus integrate(Spectrum reflectance, Viewing viewing);

}  // namespace ovk::color

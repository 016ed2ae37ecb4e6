#pragma once

#include <array>

#include "color/Spectrum.h"
#include "color/WeightingTable.h"

/// \file
/// Two ways to bring a spectrum onto the grids of the weighting tables, 360 to 780 nm.

namespace ovk::color {

/// Every 10 nm. The first sample is held below 400 nm, the last above 700 nm.
std::array<float, kWavelengths10nm> resampleHeld(Spectrum spectrum);

/// Every 5 nm, by a natural cubic spline through the samples; beyond 400 and 700 nm the cubics of
/// the first and the last interval go on.
std::array<float, kWavelengths5nm> resampleSpline(Spectrum spectrum);

}  // namespace ovk::color

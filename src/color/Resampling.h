#pragma once

#include <cstdint>
#include <span>

#include "color/SpectralGrid.h"

/// \file
/// Two ways to bring a spectrum onto another grid, which starts at `start` nm and has one sample
/// every `step` nm.

namespace ovk::color {

/// The most samples that a spline can go through: 1 nm steps from 360 to 830 nm.
inline constexpr std::size_t kMaxSplinePoints = 471;

/// Gives every wavelength the sample at or next below it; below the source's first wavelength its
/// first sample, above its last wavelength its last. `step` must be a multiple of the source's.
void resampleHeld(const SpectralGrid& source, std::uint16_t start, std::uint16_t step,
                  std::span<float> target);

/// Evaluates a natural cubic spline through the source's samples, and beyond its ends the cubics of
/// the first and the last interval. Equal grids are copied.
/// \throws std::invalid_argument if the source has fewer than 3 samples or more than
///         kMaxSplinePoints.
void resampleSpline(const SpectralGrid& source, std::uint16_t start, std::uint16_t step,
                    std::span<float> target);

}  // namespace ovk::color

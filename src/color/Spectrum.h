#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace ovk::color {

// The grid of a measured spectrum: 400, 410 ... 700 nm.
inline constexpr std::uint16_t kSpectrumStart = 400;
inline constexpr std::uint16_t kSpectrumStep = 10;
inline constexpr std::size_t kSpectrumSamples = 31;

/// Reflectance factors on that grid, as fractions: 1.0 is the perfect white.
using Spectrum = std::span<const float, kSpectrumSamples>;

}  // namespace ovk::color

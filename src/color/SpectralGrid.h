#pragma once

#include <cstdint>

namespace ovk::color {

/// A spectrum sampled at equal steps. It only points at its samples: they must outlive it.
struct SpectralGrid {
    std::uint16_t start;  // nm
    std::uint16_t step;   // nm, at least 1
    std::uint16_t count;  // at least 1
    const float* samples;

    constexpr std::uint32_t wavelength(std::uint32_t index) const { return start + index * step; }
};

}  // namespace ovk::color

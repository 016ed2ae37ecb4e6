#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// \file
/// The constant tables that turn a reflectance spectrum into tristimulus values. Their numbers and
/// sources are described in data/README.md.

namespace ovk::color {

/// Three numbers that belong together: X, Y, Z, or the coordinates of another colour space.
using Triple = std::array<float, 3>;

inline constexpr std::size_t kIlluminantCount = 18;
inline constexpr std::size_t kTableCount = 36;

// The grids of both sets of tables, in nm.
inline constexpr std::uint16_t kTableStart = 360;
inline constexpr std::size_t kWavelengths10nm = 43;
inline constexpr std::size_t kWavelengths5nm = 85;

/// Whose weights and white are meant.
struct Viewing {
    /// 0..17: D65, D50, A, C, D55, D75, F1 ... F12.
    std::int32_t illuminant;
    /// 0: CIE 1931, 2 degrees; 1: CIE 1964, 10 degrees.
    std::int32_t observer;

    /// Whether there are tables for it. All that takes a Viewing relies on that.
    constexpr bool isKnown() const {
        return illuminant >= 0 && illuminant < static_cast<std::int32_t>(kIlluminantCount) &&
               (observer == 0 || observer == 1);
    }

    constexpr std::size_t tableIndex() const {
        return static_cast<std::size_t>(illuminant) +
               kIlluminantCount * static_cast<std::size_t>(observer);
    }
};

/// The weights of one illuminant and observer on a grid from 360 to 780 nm.
template <std::size_t Wavelengths>
struct WeightingTable {
    /// The reference white of ASTM E308, Y = 100. The sums of the rounded weights come close to it.
    Triple white;
    /// For each wavelength the weights of X, Y and Z, so that a spectrum of 1.0 has Y = 100.
    std::array<float, 3 * Wavelengths> weights;
};

// Both sets are indexed by Viewing::tableIndex().
extern const std::array<WeightingTable<kWavelengths10nm>, kTableCount> kWeightingTables10nm;
extern const std::array<WeightingTable<kWavelengths5nm>, kTableCount> kWeightingTables5nm;

inline const Triple& whitePoint(Viewing viewing) {
    return kWeightingTables5nm[viewing.tableIndex()].white;
}

}  // namespace ovk::color

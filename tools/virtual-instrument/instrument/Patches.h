#pragma once

#include <array>
#include <cstddef>

namespace vi {

/// The result of a measurement: reflectance factors at 400, 410 ... 700 nm; 1.0 is the perfect
/// white.
inline constexpr std::size_t kBandCount = 31;
inline constexpr int kFirstWavelength = 400;
inline constexpr int kWavelengthStep = 10;
using Spectrum = std::array<float, kBandCount>;

/// One field of the colour chart that lies under the instrument.
struct Patch {
    const char* name;  ///< at most 23 characters
    Spectrum reflectance;
};

inline constexpr std::size_t kPatchCount = 24;

const std::array<Patch, kPatchCount>& patches();

}  // namespace vi

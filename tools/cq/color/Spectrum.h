#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace cqtool {

// The grid of the library's colour functions.
inline constexpr int kFirstWavelength = 400;  // nm
inline constexpr int kWavelengthStep = 10;    // nm
inline constexpr std::size_t kWavelengthCount = 31;

/// Reflectance factors at 400, 410 ... 700 nm; 1.0 is the perfect white.
using Spectrum = std::array<float, kWavelengthCount>;

constexpr int wavelength(std::size_t index) {
    return kFirstWavelength + kWavelengthStep * static_cast<int>(index);
}

inline constexpr int kLastWavelength = wavelength(kWavelengthCount - 1);

/// The mean of at least one spectrum at each wavelength.
Spectrum averageOf(const std::vector<Spectrum>& spectra);

// The limits for a real surface: noise can take a dark one a little below zero, and a fluorescent
// one reflects more than it receives in a band.
inline constexpr float kLeastPlausible = -0.1F;
inline constexpr float kMostPlausible = 2.0F;

// What L*, a*, b* of a real surface stay between, with the same room.
inline constexpr double kLeastLab[] = {-10, -300, -300};
inline constexpr double kMostLab[] = {131, 300, 300};

/// The top of a scale from 0 that shows all values: 0.1, 0.2, 0.5, 1 or 2.
double scaleTop(const Spectrum& spectrum);

}  // namespace cqtool

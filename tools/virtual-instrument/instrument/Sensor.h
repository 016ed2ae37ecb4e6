#pragma once

#include <cstdint>
#include <random>

#include "instrument/Patches.h"

namespace vi {

/// Measures the patches of the chart: standards as they are, trials with a small colour difference,
/// both with drift and noise.
class Sensor {
  public:
    /// \param noise standard deviation of each reflectance factor; 0 for exact values.
    Sensor(std::uint64_t seed, double noise) : random_(seed), noise_(noise) {}

    void setNoise(double noise) { noise_ = noise; }
    /// \param factor what each reflectance factor is multiplied by; 1 without a drift.
    void setDrift(double factor) { drift_ = factor; }

    /// \param patch 0..23.
    Spectrum measureStandard(std::size_t patch);

    /// \param trial counts the trials: the colour differences, 0.3 to 1.5 CIELAB units, take turns.
    Spectrum measureTrial(std::size_t patch, std::uint32_t trial);

    /// The same without drift and noise.
    static Spectrum exactStandard(std::size_t patch);
    static Spectrum exactTrial(std::size_t patch, std::uint32_t trial);

  private:
    Spectrum asMeasured(Spectrum spectrum);
    double normal();

    std::mt19937_64 random_;
    double noise_;
    double drift_ = 1;
};

}  // namespace vi

#include "instrument/Sensor.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace vi {
namespace {

/// How a trial differs from its standard: reflectance times 1 + gain + slope * x, plus an offset,
/// where x runs from -1 at 400 nm to +1 at 700 nm. The offset keeps the difference visible on the
/// dark patches.
struct Deviation {
    double gain;
    double slope;
    double offset;
};

constexpr std::array<Deviation, 4> kDeviations{{
    {0.022, 0.010, 0.0006},
    {-0.018, 0.014, -0.0006},
    {0.024, -0.012, 0.0006},
    {-0.022, -0.012, -0.0006},
}};

}  // namespace

Spectrum Sensor::exactStandard(std::size_t patch) {
    return patches()[patch].reflectance;
}

Spectrum Sensor::exactTrial(std::size_t patch, std::uint32_t trial) {
    const Deviation& deviation = kDeviations[trial % kDeviations.size()];
    Spectrum spectrum = exactStandard(patch);
    constexpr double middle = (kBandCount - 1) / 2.0;
    for (std::size_t band = 0; band < spectrum.size(); ++band) {
        const double x = (static_cast<double>(band) - middle) / middle;
        const double factor = 1 + deviation.gain + deviation.slope * x;
        spectrum[band] = static_cast<float>(spectrum[band] * factor + deviation.offset);
    }
    return spectrum;
}

Spectrum Sensor::measureStandard(std::size_t patch) {
    return asMeasured(exactStandard(patch));
}

Spectrum Sensor::measureTrial(std::size_t patch, std::uint32_t trial) {
    return asMeasured(exactTrial(patch, trial));
}

Spectrum Sensor::asMeasured(Spectrum spectrum) {
    for (float& value : spectrum) {
        value = static_cast<float>(value * drift_);
    }
    if (noise_ > 0) {
        for (float& value : spectrum) {
            value = std::max(0.0F, static_cast<float>(value + noise_ * normal()));
        }
    }
    return spectrum;
}

// The Box-Muller method: std::normal_distribution would give other values with another standard
// library, and a seed must give the same values everywhere.
double Sensor::normal() {
    constexpr double unit = 0x1p-53;
    const double u = (static_cast<double>(random_() >> 11) + 1) * unit;
    const double v = static_cast<double>(random_() >> 11) * unit;
    return std::sqrt(-2 * std::log(u)) * std::cos(2 * std::numbers::pi * v);
}

}  // namespace vi

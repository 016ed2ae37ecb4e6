#include "color/Strength.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace ovk::color {
namespace {

using Ratios = std::array<double, kSpectrumSamples>;

/// Of each sample (1 - R)^2 / (2 R). More than the perfect white reflects nothing absorbs; where
/// nothing is reflected there is no ratio, and not-a-number stands for it.
Ratios absorptionToScattering(Spectrum spectrum) {
    Ratios ratios;
    std::transform(spectrum.begin(), spectrum.end(), ratios.begin(), [](double r) {
        if (!(r > 0.0)) {
            return std::numeric_limits<double>::quiet_NaN();
        }
        return r > 1.0 ? 0.0 : (1.0 - r) * (1.0 - r) / (2.0 * r);
    });
    return ratios;
}

/// wX + wY + wZ at the wavelengths of a spectrum, of the weights for every 10 nm.
Ratios visibility(Viewing viewing) {
    constexpr std::size_t kFirst = (kSpectrumStart - kTableStart) / kSpectrumStep;
    const auto& weights = kWeightingTables10nm[viewing.tableIndex()].weights;
    Ratios sums;
    for (std::size_t i = 0; i < sums.size(); ++i) {
        const float* at = &weights[3 * (kFirst + i)];
        sums[i] = double{at[0]} + double{at[1]} + double{at[2]};
    }
    return sums;
}

Ratios weightsOf(StrengthMethod method, Viewing viewing, const Ratios& standard) {
    Ratios weights{};
    switch (method) {
        case StrengthMethod::singleWavelength:
            weights[static_cast<std::size_t>(std::max_element(standard.begin(), standard.end()) -
                                             standard.begin())] = 1.0;
            break;
        case StrengthMethod::sum:
            weights.fill(1.0);
            break;
        case StrengthMethod::weighted:
            return visibility(viewing);
    }
    return weights;
}

double weighted(const Ratios& ratios, const Ratios& weights) {
    double sum = 0.0;
    for (std::size_t i = 0; i < ratios.size(); ++i) {
        // What has no weight need not be defined.
        sum += weights[i] == 0.0 ? 0.0 : weights[i] * ratios[i];
    }
    return sum;
}

}  // namespace

std::optional<double> strengthOf(StrengthMethod method, Viewing viewing, Spectrum standard,
                                 Spectrum trial) {
    const Ratios ofStandard = absorptionToScattering(standard);
    const bool isDefined =
        std::none_of(ofStandard.begin(), ofStandard.end(), [](double r) { return std::isnan(r); });
    if (!isDefined) {
        return std::nullopt;
    }
    const Ratios weights = weightsOf(method, viewing, ofStandard);
    const double percent =
        100.0 * weighted(absorptionToScattering(trial), weights) / weighted(ofStandard, weights);
    return std::isfinite(percent) ? std::optional(percent) : std::nullopt;
}

}  // namespace ovk::color

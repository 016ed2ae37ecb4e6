#pragma once

#include <cstdint>
#include <optional>

#include "color/Difference.h"
#include "color/Spectrum.h"
#include "color/WeightingTable.h"

namespace ovk::color {

enum class MetamerismCorrection : std::uint32_t {
    multiplicative = 0,
    additive = 1,
};

inline constexpr std::uint32_t kMetamerismCorrections = 2;

/// Special metamerism index for a change of illuminant (ISO 18314-4, DIN 6172, CIE 15:2004, 9.2):
/// how much two colours differ under the test illuminant once the trial has been corrected so that
/// they are the same under the reference illuminant. Nothing if the multiplicative correction
/// meets a tristimulus value of the trial that is not above 0.
std::optional<double> metamerismIndex(DifferenceFormula formula, MetamerismCorrection correction,
                                      Viewing reference, Viewing test, Spectrum standard,
                                      Spectrum trial);

}  // namespace ovk::color

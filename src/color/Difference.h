#pragma once

#include <array>
#include <cstdint>

#include "color/Lab.h"

/// \file
/// Colour differences of a trial from a standard. Every component is the trial's less the
/// standard's.

namespace ovk::color {

enum class DifferenceFormula : std::uint32_t {
    cie76 = 0,
    cie94 = 1,
    cie94Textile = 2,
    cmc = 3,
    ciede2000 = 4,
    din99 = 5,
    din99o = 6,
};

inline constexpr std::uint32_t kDifferenceFormulas = 7;

/// The CIELAB differences (ISO/CIE 11664-4).
struct Components {
    double lightness;
    double a;
    double b;
    double chroma;
    /// Positive for a trial that lies anticlockwise of the standard, and for exactly opposite hues;
    /// 0 if either is neutral.
    double hue;
};

Components componentsOf(const Lab& standard, const Lab& trial);

/// kL, kC and kH; of CMC l, c and one that is not read. CIE76, DIN99 and DIN99o have none.
using Factors = std::array<double, 3>;

/// Those that a formula has unless others are agreed on.
Factors usualFactors(DifferenceFormula formula);

/// \param components those of the two colours.
double difference(DifferenceFormula formula, const Factors& factors, const Lab& standard,
                  const Lab& trial, const Components& components);

inline double difference(DifferenceFormula formula, const Lab& standard, const Lab& trial) {
    return difference(formula, usualFactors(formula), standard, trial,
                      componentsOf(standard, trial));
}

}  // namespace ovk::color

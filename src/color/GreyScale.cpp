#include "color/GreyScale.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "color/Difference.h"

namespace ovk::color {
namespace {

double square(double value) {
    return value * value;
}

/// dEF of ISO 105-A05: differences of vivid colours count less; in blue a loss of chroma and a turn
/// of hue go together. D takes that part off.
double differenceOfChange(const Lab& standard, const Lab& trial) {
    const Components by = componentsOf(standard, trial);
    const double cM = (standard.chroma() + trial.chroma()) / 2.0;
    const double hM = huesOf(standard, trial, senseOfTurn(standard, trial)).mean;
    const double fromBlue = std::fabs(hM - radians(280.0));
    const double around = std::min(fromBlue, radians(360.0) - fromBlue);
    const double d = by.chroma * cM * std::exp(-square(around / radians(30.0))) / 100.0;
    const double chroma = (by.chroma - d) / (1.0 + square(cM / 50.0));
    const double hue = (by.hue - d) / (1.0 + square(cM / 100.0));
    return std::sqrt(square(by.lightness) + square(chroma) + square(hue));
}

}  // namespace

GreyScaleRating ratingOfChange(const Lab& standard, const Lab& trial) {
    // The largest difference of each step, from 5 down to 1.5.
    constexpr std::array kSteps{0.40, 1.25, 2.10, 2.95, 4.10, 5.80, 8.20, 11.60};
    const double dE = differenceOfChange(standard, trial);
    const double rating = dE <= 3.4 ? 5.0 - dE / 1.7 : 5.0 - std::log2(dE / 0.85);
    const auto exceeded =
        std::count_if(kSteps.begin(), kSteps.end(), [dE](double largest) { return dE > largest; });
    return {std::max(rating, 1.0), 5.0 - 0.5 * static_cast<double>(exceeded)};
}

GreyScaleRating ratingOfStaining(const Lab& standard, const Lab& trial) {
    const Components by = componentsOf(standard, trial);
    const double dE = difference(DifferenceFormula::cie76, standard, trial);
    // The square root of dE^2 - dL^2.
    const double dEGs = dE - 0.4 * std::sqrt(square(by.a) + square(by.b));
    const double light = 5.0 - 0.23 * dEGs;
    const double rating = light > 4.0 ? light : 6.1 - 1.45 * std::log(dEGs);
    const double rounded = std::round(100.0 * rating) / 100.0;
    // Steps change at 4.75, 4.25 ... 1.25.
    return {rating, std::clamp(std::floor(2.0 * rounded + 0.5) / 2.0, 1.0, 5.0)};
}

}  // namespace ovk::color

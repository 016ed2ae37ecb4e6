#include "report/Tolerance.h"

#include <cmath>
#include <cstddef>
#include <numbers>

#include "Failure.h"

namespace cqtool {
namespace {

constexpr std::size_t kOutlinePoints = 72;

}  // namespace

DifferenceFormula differenceFormulaNamed(std::string_view name) {
    if (name == "ab") {
        return DifferenceFormula::ab;
    }
    if (name == "00") {
        return DifferenceFormula::ciede2000;
    }
    throw UsageError("the formula must be ab (CIE 1976) or 00 (CIEDE2000), not '" +
                     std::string(name) + "'");
}

const char* nameOf(DifferenceFormula formula) {
    return formula == DifferenceFormula::ab ? "ab" : "00";
}

double difference(DifferenceFormula formula, const ColorData& standard, const ColorData& trial) {
    return formula == DifferenceFormula::ab ? deltaEab(standard, trial) : deltaE00(standard, trial);
}

std::vector<AbOffset> toleranceOutline(DifferenceFormula formula, const ColorData& standard,
                                       double tolerance) {
    const Ciede2000Weights weights = ciede2000WeightsAt(standard);
    const auto squared = [&](double a, double b) {
        return formula == DifferenceFormula::ab ? a * a + b * b
                                                : std::pow(weights.difference(a, b), 2);
    };
    // The squared difference is aa * a^2 + 2 * ab * a * b + bb * b^2. Its Cholesky factor turns the
    // unit circle into the outline, with points dense where it bends.
    const double aa = squared(1, 0);
    const double bb = squared(0, 1);
    const double ab = (squared(1, 1) - aa - bb) / 2;
    const double first = std::sqrt(aa);
    const double mixed = ab / first;
    const double second = std::sqrt(bb - mixed * mixed);
    std::vector<AbOffset> outline;
    for (std::size_t i = 0; i < kOutlinePoints; ++i) {
        const double angle = 2 * std::numbers::pi * static_cast<double>(i) / kOutlinePoints;
        const double b = tolerance * std::sin(angle) / second;
        outline.push_back({(tolerance * std::cos(angle) - mixed * b) / first, b});
    }
    return outline;
}

}  // namespace cqtool

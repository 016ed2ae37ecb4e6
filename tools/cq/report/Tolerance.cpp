#include "report/Tolerance.h"

#include <cmath>
#include <cstddef>
#include <numbers>

namespace cqtool {
namespace {

constexpr std::size_t kOutlinePoints = 72;

/// Small for the formulas, large for the digits of a float.
constexpr float kSmall = 0.05F;

}  // namespace

std::vector<AbOffset> toleranceOutline(const DifferenceFormula& formula, const ColorData& standard,
                                       double tolerance) {
    const auto squared = [&](float a, float b) {
        ColorData trial = standard;
        trial.values[1] += kSmall * a;
        trial.values[2] += kSmall * b;
        return std::pow(difference(formula, standard, trial) / double{kSmall}, 2);
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

#include "color/Ciede2000.h"

#include <algorithm>
#include <cmath>

namespace ovk::color {
namespace {

/// sqrt(C^7 / (C^7 + 25^7)): near 0 for greys, near 1 for vivid colours.
double vividness(double chroma) {
    constexpr double kPower = 6103515625.0;  // 25^7
    const double cube = chroma * chroma * chroma;
    const double power = cube * cube * chroma;
    return std::sqrt(power / (power + kPower));
}

}  // namespace

double ciede2000(const Factors& k, const Lab& standard, const Lab& trial) {
    const double stretch = 1.5 - 0.5 * vividness((standard.chroma() + trial.chroma()) / 2.0);
    const Lab one{standard.lightness, stretch * standard.a, standard.b};
    const Lab other{trial.lightness, stretch * trial.a, trial.b};
    const double c0 = one.chroma();
    const double c1 = other.chroma();
    const auto [turn, h] = huesOf(one, other, senseOfTurn(standard, trial));

    const double fromMiddle = (one.lightness + other.lightness) / 2.0 - 50.0;
    const double c = (c0 + c1) / 2.0;
    const double t = 1.0 - 0.17 * std::cos(h - radians(30.0)) + 0.24 * std::cos(2.0 * h) +
                     0.32 * std::cos(3.0 * h + radians(6.0)) -
                     0.20 * std::cos(4.0 * h - radians(63.0));
    const double sL =
        1.0 + 0.015 * fromMiddle * fromMiddle / std::sqrt(20.0 + fromMiddle * fromMiddle);
    const double sC = 1.0 + 0.045 * c;
    const double sH = 1.0 + 0.015 * c * t;
    const double fromBlue = (h - radians(275.0)) / radians(25.0);
    const double rT =
        -2.0 * vividness(c) * std::sin(radians(60.0) * std::exp(-fromBlue * fromBlue));

    const double l = (other.lightness - one.lightness) / (k[0] * sL);
    const double chroma = (c1 - c0) / (k[1] * sC);
    const double hue = 2.0 * std::sqrt(c0 * c1) * std::sin(turn / 2.0) / (k[2] * sH);
    return std::sqrt(std::max(0.0, l * l + chroma * chroma + hue * hue + rT * chroma * hue));
}

}  // namespace ovk::color

#include "color/Lab.h"

namespace ovk::color {
namespace {

double labFunction(double ratio) {
    constexpr double kBreakpoint = 216.0 / 24389.0;  // (6 / 29)^3
    return ratio > kBreakpoint ? std::cbrt(ratio) : 841.0 / 108.0 * ratio + 4.0 / 29.0;
}

}  // namespace

Lab labOf(const Tristimulus& xyz, const Triple& white) {
    if (xyz[0] + xyz[1] + xyz[2] == 0.0) {
        return {};
    }
    const double fx = labFunction(xyz[0] / white[0]);
    const double fy = labFunction(xyz[1] / white[1]);
    const double fz = labFunction(xyz[2] / white[2]);
    return {116.0 * fy - 16.0, 500.0 * (fx - fy), 200.0 * (fy - fz)};
}

Hues huesOf(const Lab& from, const Lab& to, double sense) {
    constexpr double kPi = std::numbers::pi;
    const double h0 = from.hue();
    const double h1 = to.hue();
    if (from.chroma() * to.chroma() == 0.0) {
        return {0.0, h0 + h1};
    }
    const double turn = h1 - h0;
    const double mean = (h0 + h1) / 2.0;
    // The shorter way leads past 0 if the difference of the angles points the other way round.
    if (std::fabs(turn) < kPi / 2.0 || turn * sense >= 0.0) {
        return {turn, mean};
    }
    return {turn < 0.0 ? turn + 2.0 * kPi : turn - 2.0 * kPi, mean < kPi ? mean + kPi : mean - kPi};
}

}  // namespace ovk::color

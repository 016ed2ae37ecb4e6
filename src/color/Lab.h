#pragma once

#include <array>
#include <cmath>
#include <numbers>

#include "color/WeightingTable.h"

namespace ovk::color {

constexpr double radians(double degrees) {
    return degrees * std::numbers::pi / 180.0;
}

/// A colour as L*, a*, b*, in the precision in which colours are compared.
struct Lab {
    double lightness;
    double a;
    double b;

    /// C*ab.
    double chroma() const { return std::sqrt(a * a + b * b); }

    /// hab in radians, 0 to 2 pi; 0 of a neutral.
    double hue() const {
        if (a == 0.0 && b == 0.0) {
            return 0.0;
        }
        const double angle = std::atan2(b, a);
        return angle < 0.0 ? angle + 2.0 * std::numbers::pi : angle;
    }
};

/// X, Y and Z in that precision.
using Tristimulus = std::array<double, 3>;

/// CIE 1976 L*, a*, b* (CIE 15:2004, 8.2.1). Zeros if X + Y + Z is zero.
Lab labOf(const Tristimulus& xyz, const Triple& white);

/// Positive if the other's hue lies anticlockwise within half a turn, negative if clockwise, 0 if
/// the hues are the same or exactly opposite. Products of numbers that came as floats are exact in
/// double precision, so that this can be relied on where rounded angles cannot.
inline double senseOfTurn(const Lab& from, const Lab& to) {
    return from.a * to.b - from.b * to.a;
}

/// Hue angles of two colours, in radians. A neutral has no hue: the other's counts for both.
struct Hues {
    /// From the first to the second by the shorter way, anticlockwise being positive. Of exactly
    /// opposite hues neither way is shorter: the difference of the angles.
    double turn;
    /// In the middle of that way.
    double mean;
};

/// \param sense the colours' senseOfTurn, or that of what they were computed from.
Hues huesOf(const Lab& from, const Lab& to, double sense);

}  // namespace ovk::color

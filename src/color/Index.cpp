#include "color/Index.h"

#include <algorithm>
#include <array>

namespace ovk::color {
namespace {

constexpr std::int32_t kD65 = 0;
constexpr std::int32_t kD50 = 1;
constexpr std::int32_t kC = 3;
constexpr std::int32_t k2Degrees = 0;
constexpr std::int32_t k10Degrees = 1;

/// The neutral point, in the four digits that belong to the definition.
struct NeutralPoint {
    Viewing viewing;
    double x;
    double y;
};

constexpr std::array kNeutralPointsCie{
    // CIE 15:2004, 9.1
    NeutralPoint{{kD65, k2Degrees}, 0.3127, 0.3290},
    NeutralPoint{{kD65, k10Degrees}, 0.3138, 0.3310},
};

constexpr std::array kNeutralPointsE313{
    // ASTM E313, table of whiteness coefficients
    NeutralPoint{{kC, k2Degrees}, 0.3101, 0.3161},
    NeutralPoint{{kD50, k2Degrees}, 0.3457, 0.3585},
    NeutralPoint{{kD65, k2Degrees}, 0.3127, 0.3290},
    NeutralPoint{{kC, k10Degrees}, 0.3104, 0.3191},
    NeutralPoint{{kD50, k10Degrees}, 0.3477, 0.3595},
    NeutralPoint{{kD65, k10Degrees}, 0.3138, 0.3310},
};

struct YellownessCoefficients {
    Viewing viewing;
    double cX;
    double cZ;
};

constexpr std::array kYellownessE313{
    // ASTM E313, table of yellowness coefficients
    YellownessCoefficients{{kC, k2Degrees}, 1.2769, 1.0592},
    YellownessCoefficients{{kD65, k2Degrees}, 1.2985, 1.1335},
    YellownessCoefficients{{kC, k10Degrees}, 1.2871, 1.0781},
    YellownessCoefficients{{kD65, k10Degrees}, 1.3013, 1.1498},
};

constexpr std::array kYellownessD1925{
    // ASTM D1925, withdrawn in 1995
    YellownessCoefficients{{kC, k2Degrees}, 1.28, 1.06},
};

/// Null if the table has no entry.
template <class Table>
constexpr auto find(const Table& table, Viewing viewing) {
    const auto found = std::find_if(table.begin(), table.end(), [&](const auto& entry) {
        return entry.viewing.illuminant == viewing.illuminant &&
               entry.viewing.observer == viewing.observer;
    });
    return found == table.end() ? nullptr : &*found;
}

bool isCie(Index index) {
    return index == Index::whitenessCie || index == Index::tintCie;
}

bool isTint(Index index) {
    return index == Index::tintCie || index == Index::tintE313;
}

const NeutralPoint* neutralPointOf(Index index, Viewing viewing) {
    return isCie(index) ? find(kNeutralPointsCie, viewing) : find(kNeutralPointsE313, viewing);
}

const YellownessCoefficients* yellownessOf(Index index, Viewing viewing) {
    return index == Index::yellownessE313 ? find(kYellownessE313, viewing)
                                          : find(kYellownessD1925, viewing);
}

bool isYellowness(Index index) {
    return index == Index::yellownessE313 || index == Index::yellownessD1925;
}

IndexValue whitenessOrTint(Index index, Viewing viewing, const Tristimulus& xyz) {
    const NeutralPoint& neutral = *neutralPointOf(index, viewing);
    const double sum = xyz[0] + xyz[1] + xyz[2];
    const double dx = neutral.x - xyz[0] / sum;
    const double dy = neutral.y - xyz[1] / sum;
    const double whiteness = xyz[1] + 800.0 * dx + 1700.0 * dy;
    const double tint = (viewing.observer == k10Degrees ? 900.0 : 1000.0) * dx - 650.0 * dy;
    const bool isWhite = whiteness > 40.0 && whiteness < 5.0 * xyz[1] - 280.0;
    const bool isHardlyTinted =
        isCie(index) ? tint > -4.0 && tint < 2.0 : tint > -3.0 && tint < 3.0;
    return {isTint(index) ? tint : whiteness, isWhite && isHardlyTinted};
}

}  // namespace

bool isDefinedFor(Index index, Viewing viewing) {
    return isYellowness(index) ? yellownessOf(index, viewing) != nullptr
                               : neutralPointOf(index, viewing) != nullptr;
}

std::optional<IndexValue> indexOf(Index index, Viewing viewing, const Tristimulus& xyz) {
    const auto [x, y, z] = xyz;
    if (!(y > 0.0 && x + y + z > 0.0)) {
        return std::nullopt;
    }
    if (!isYellowness(index)) {
        return whitenessOrTint(index, viewing, xyz);
    }
    const YellownessCoefficients& c = *yellownessOf(index, viewing);
    return IndexValue{100.0 * (c.cX * x - c.cZ * z) / y, true};
}

}  // namespace ovk::color

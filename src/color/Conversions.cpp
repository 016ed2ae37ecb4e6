#include "color/Conversions.h"

#include <algorithm>
#include <cmath>

namespace ovk::color {
namespace {

// The linear part of the Lab function near black.
constexpr float kLabSlope = 7.787037f;         // 841 / 108
constexpr float kLabOffset = 0.13793103f;      // 4 / 29
constexpr float kLabBreakpoint = 0.20689656f;  // 6 / 29
constexpr float kThird = 0.33333334f;

bool sumsToZero(const Triple& xyz) {
    return xyz[0] + xyz[1] + xyz[2] == 0.0f;
}

float labFunction(float ratio) {
    return ratio > std::pow(kLabBreakpoint, 3.0f) ? std::pow(ratio, kThird)
                                                  : kLabSlope * ratio + kLabOffset;
}

float inverseLabFunction(float value) {
    return value > kLabBreakpoint ? std::pow(value, 3.0f) : (value - kLabOffset) / kLabSlope;
}

float lightness(float fy) {
    return 116.0f * fy - 16.0f;
}

float degrees(float radians) {
    constexpr double kInversePi = 0.3183098861837907;
    return static_cast<float>(static_cast<double>(radians) * kInversePi * 180.0);
}

// A not-a-number meets none of the first conditions and stays one.
float hue(float a, float b) {
    constexpr float kNeutral = 1e-6f;
    const float redness = std::fabs(a);
    const float yellowness = std::fabs(b);
    if (yellowness < kNeutral) {
        return redness >= kNeutral && a <= 0.0f ? 180.0f : 0.0f;
    }
    if (yellowness >= kNeutral && redness < kNeutral) {
        return b > 0.0f ? 90.0f : 270.0f;
    }
    const float angle = degrees(std::atan2(b, a));
    return angle < 0.0f ? angle + 360.0f : angle;
}

struct Chromaticity {
    float u;
    float v;
};

/// u' and v' of the CIE 1976 uniform chromaticity scale.
Chromaticity uniformChromaticity(const Triple& xyz) {
    const auto [x, y, z] = xyz;
    const float denominator = x + 15.0f * y + 3.0f * z;
    return {4.0f * x / denominator, 9.0f * y / denominator};
}

struct HunterCoefficients {
    float ka;
    float kb;
};

HunterCoefficients hunterCoefficients(Viewing viewing) {
    struct Published {
        std::int32_t illuminant;
        HunterCoefficients byObserver[2];
    };
    static constexpr Published kPublished[] = {
        {0, {{172.3f, 67.2f}, {172.1f, 66.7f}}},      // D65
        {1, {{173.51f, 58.48f}, {173.82f, 58.13f}}},  // D50
        {2, {{185.2f, 38.4f}, {186.3f, 38.2f}}},      // A
        {3, {{175.0f, 70.0f}, {174.3f, 69.4f}}},      // C
        {5, {{172.22f, 71.3f}, {171.76f, 70.76f}}},   // D75
        {7, {{175.0f, 52.9f}, {178.6f, 53.6f}}},      // F2
        {16, {{178.0f, 52.3f}, {180.1f, 52.7f}}},     // F11
        {17, {{183.7f, 37.5f}, {186.3f, 38.2f}}},     // F12; at 10 degrees A's, on purpose
    };
    for (const Published& entry : kPublished) {
        if (entry.illuminant == viewing.illuminant) {
            return entry.byObserver[viewing.observer != 0 ? 1 : 0];
        }
    }
    const auto [x, y, z] = whitePoint(viewing);
    return {0.8836599f * (x + y), 0.32093897f * (y + z)};
}

double srgbChannel(double linear) {
    const double dark = 12.92 * linear;
    const double encoded =
        dark <= 0.04045 ? dark : 1.055 * std::pow(linear, 0.4166666666666667) - 0.055;
    return std::clamp(encoded, 0.0, 1.0);
}

}  // namespace

Triple xyzToLab(const Triple& xyz, const Triple& white) {
    if (sumsToZero(xyz)) {
        return {};
    }
    const float fx = labFunction(xyz[0] / white[0]);
    const float fy = labFunction(xyz[1] / white[1]);
    const float fz = labFunction(xyz[2] / white[2]);
    return {lightness(fy), 500.0f * (fx - fy), 200.0f * (fy - fz)};
}

Triple labToXyz(const Triple& lab, const Triple& white) {
    if (lab == Triple{}) {
        return {};
    }
    const float fy = (lab[0] + 16.0f) / 116.0f;
    const float fx = fy + lab[1] / 500.0f;
    const float fz = fy - lab[2] / 200.0f;
    return {white[0] * inverseLabFunction(fx), white[1] * inverseLabFunction(fy),
            white[2] * inverseLabFunction(fz)};
}

Triple xyzToYxy(const Triple& xyz) {
    const auto [x, y, z] = xyz;
    const float sum = x + y + z;
    if (sum == 0.0f) {
        return {};
    }
    return {y, x / sum, y / sum};
}

Triple labToLch(const Triple& lab) {
    const auto [l, a, b] = lab;
    return {l, std::sqrt(a * a + b * b), hue(a, b)};
}

Triple xyzToLuv(const Triple& xyz, const Triple& white) {
    if (sumsToZero(xyz)) {
        return {};
    }
    const float l = lightness(labFunction(xyz[1] / white[1]));
    const auto [u, v] = uniformChromaticity(xyz);
    const auto [un, vn] = uniformChromaticity(white);
    return {l, 13.0f * l * (u - un), 13.0f * l * (v - vn)};
}

Triple xyzToHunterLab(const Triple& xyz, Viewing viewing) {
    if (sumsToZero(xyz)) {
        return {};
    }
    const Triple& white = whitePoint(viewing);
    const auto [ka, kb] = hunterCoefficients(viewing);
    const float root = std::sqrt(xyz[1] / white[1]);
    return {100.0f * root, ka * (xyz[0] / white[0] / root - root),
            kb * (root - xyz[2] / white[2] / root)};
}

Triple labToSrgb(const Triple& lab) {
    static constexpr Triple kD50{96.422f, 100.0f, 82.521f};
    // From tristimulus values relative to D50 to the linear light of the sRGB primaries.
    static constexpr double kFromXyz[3][3] = {
        {3.13405134140307, -1.61702771078607, -0.49065220978742},
        {-0.97876272987415, 1.91614222843468, 0.03344962851486},
        {0.07194257711719, -0.22897117960925, 1.40521830532745},
    };
    const Triple xyz = labToXyz(lab, kD50);
    const double x = xyz[0];
    const double y = xyz[1];
    const double z = xyz[2];
    Triple rgb;
    for (std::size_t i = 0; i < rgb.size(); ++i) {
        const double* row = kFromXyz[i];
        rgb[i] = static_cast<float>(srgbChannel((row[0] * x + row[1] * y + row[2] * z) / 100.0));
    }
    return rgb;
}

Triple labToDin99(const Triple& lab) {
    constexpr float kRotation = 0.27925268f;  // 16 degrees
    const auto [l, a, b] = lab;
    const float cosine = std::cos(kRotation);
    const float sine = std::sin(kRotation);
    const float e = a * cosine + b * sine;
    const float f = 0.7f * (b * cosine - a * sine);
    const float g = std::sqrt(e * e + f * f);
    const float chroma = std::log(1.0f + 0.045f * g) / 0.045f;
    return {105.51f * std::log(1.0f + 0.0158f * l), chroma * e / g, chroma * f / g};
}

}  // namespace ovk::color

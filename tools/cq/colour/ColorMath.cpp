#include "colour/ColorMath.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>

#include "ResultText.h"

namespace cqtool {
namespace {

void checkColor(std::uint32_t code) {
    check(code, Operation::computeColor);
}

// radians; hue angles come out with errors far below it
constexpr double kHueRounding = 1e-9;

double degrees(double number) {
    return number * std::numbers::pi / 180;
}

/// G: how much a* is stretched near the neutrals.
double stretchOf(double meanChroma) {
    const double power = std::pow(meanChroma, 7);
    return 0.5 * (1 - std::sqrt(power / (power + std::pow(25.0, 7))));
}

double chromaOf(const ColorData& lab) {
    return std::hypot(double{lab.values[1]}, double{lab.values[2]});
}

/// A hue angle from 0 to 2 pi.
double hueOf(double a, double b) {
    const double angle = std::atan2(b, a);
    return angle < 0 ? angle + 2 * std::numbers::pi : angle;
}

/// S_L, S_C, S_H and R_T of mean lightness, chroma C' and hue h'.
Ciede2000Weights weightsOf(double stretch, double lightness, double chroma, double hue) {
    const double offset = (lightness - 50) * (lightness - 50);
    const double t = 1 - 0.17 * std::cos(hue - degrees(30)) + 0.24 * std::cos(2 * hue) +
                     0.32 * std::cos(3 * hue + degrees(6)) - 0.20 * std::cos(4 * hue - degrees(63));
    const double turn = (hue - degrees(275)) / degrees(25);
    const double power = std::pow(chroma, 7);
    return {stretch,
            hue,
            1 + 0.015 * offset / std::sqrt(20 + offset),
            1 + 0.045 * chroma,
            1 + 0.015 * chroma * t,
            -2 * std::sqrt(power / (power + std::pow(25.0, 7))) *
                std::sin(2 * degrees(30) * std::exp(-turn * turn))};
}

double combined(double lightness, double chroma, double hue, double rotation) {
    return std::sqrt(std::max(
        0.0, lightness * lightness + chroma * chroma + hue * hue + rotation * chroma * hue));
}

std::uint8_t toByte(float channel) {
    // Also turns not-a-number into 0.
    const float limited = channel > 0 ? std::min(channel, 1.0F) : 0.0F;
    return static_cast<std::uint8_t>(std::lround(limited * 255.0F));
}

}  // namespace

ColorData colorOfSpectrum(const Spectrum& spectrum, std::uint32_t space, const Viewing& viewing) {
    ColorData color{};
    checkColor(cqGetColorDataFromSpectralData(spectrum.data(), space, viewing.illuminant,
                                              viewing.observer, &color));
    return color;
}

ColorData colorOfXyz(const ColorData& xyz, std::uint32_t space, const Viewing& viewing) {
    ColorData color{};
    checkColor(
        cqGetColorDataFromXyz(viewing.illuminant, viewing.observer, xyz.values, space, &color));
    return color;
}

ColorData colorOfLab(const ColorData& lab, std::uint32_t space, const Viewing& viewing) {
    ColorData color{};
    checkColor(
        cqGetColorDataFromLab(viewing.illuminant, viewing.observer, lab.values, space, &color));
    return color;
}

double deltaEab(const ColorData& lab1, const ColorData& lab2) {
    const double lightness = double{lab1.values[0]} - lab2.values[0];
    const double a = double{lab1.values[1]} - lab2.values[1];
    const double b = double{lab1.values[2]} - lab2.values[2];
    return std::sqrt(lightness * lightness + a * a + b * b);
}

double Ciede2000Weights::difference(double a, double b) const {
    const double chromaPart = stretch * a * std::cos(hue) + b * std::sin(hue);
    const double huePart = b * std::cos(hue) - stretch * a * std::sin(hue);
    return combined(0, chromaPart / chroma, huePart / hueWeight, rotation);
}

Ciede2000Weights ciede2000WeightsAt(const ColorData& lab) {
    const double stretch = 1 + stretchOf(chromaOf(lab));
    const double a = stretch * lab.values[1];
    const double b = lab.values[2];
    return weightsOf(stretch, lab.values[0], std::hypot(a, b), hueOf(a, b));
}

double deltaE00(const ColorData& lab1, const ColorData& lab2) {
    constexpr double kPi = std::numbers::pi;
    const double stretch = 1 + stretchOf((chromaOf(lab1) + chromaOf(lab2)) / 2);
    const double a1 = stretch * lab1.values[1];
    const double a2 = stretch * lab2.values[1];
    const double chroma1 = std::hypot(a1, double{lab1.values[2]});
    const double chroma2 = std::hypot(a2, double{lab2.values[2]});
    const double hue1 = hueOf(a1, lab1.values[2]);
    const double hue2 = hueOf(a2, lab2.values[2]);
    // Of a neutral there is no hue: the difference is 0 and the mean is the other's.
    const bool isNeutral = chroma1 * chroma2 == 0;
    double turn = isNeutral ? 0 : hue2 - hue1;
    double hue = isNeutral ? hue1 + hue2 : (hue1 + hue2) / 2;
    if (std::abs(turn) > kPi + kHueRounding) {
        // The shorter way round leads past 0; of opposite hues neither is.
        turn += turn > 0 ? -2 * kPi : 2 * kPi;
        hue += hue < kPi ? kPi : -kPi;
    }
    const auto weights = weightsOf(stretch, (double{lab1.values[0]} + lab2.values[0]) / 2,
                                   (chroma1 + chroma2) / 2, hue);
    return combined((double{lab2.values[0]} - lab1.values[0]) / weights.lightness,
                    (chroma2 - chroma1) / weights.chroma,
                    2 * std::sqrt(chroma1 * chroma2) * std::sin(turn / 2) / weights.hueWeight,
                    weights.rotation);
}

Rgb toRgb(const ColorData& srgb) {
    return {toByte(srgb.values[0]), toByte(srgb.values[1]), toByte(srgb.values[2])};
}

Rgb rgbOfSpectrum(const Spectrum& spectrum, const Viewing& viewing) {
    return toRgb(colorOfSpectrum(spectrum, ColorSpaceSrgb, viewing));
}

Rgb rgbOfLab(const ColorData& lab, const Viewing& viewing) {
    return toRgb(colorOfLab(lab, ColorSpaceSrgb, viewing));
}

std::string hexColor(const Rgb& color) {
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", color.red, color.green, color.blue);
    return text;
}

}  // namespace cqtool

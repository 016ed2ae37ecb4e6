#include "color/ColorMath.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "ResultText.h"

namespace cqtool {
namespace {

void checkColor(std::uint32_t code) {
    check(code, Operation::computeColor);
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

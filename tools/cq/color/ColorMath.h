#pragma once

#include <cstdint>
#include <string>

#include "color/ColorNames.h"
#include "color/Difference.h"
#include "color/Spectrum.h"
#include "cqapi/CQApi.h"

namespace cqtool {

/// A colour for a screen, sRGB with 8 bits per channel.
struct Rgb {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;

    bool operator==(const Rgb&) const = default;
};

/// The library's colour functions.
/// \param space an assigned number of ColorSpace.
ColorData colorOfSpectrum(const Spectrum& spectrum, std::uint32_t space, const Viewing& viewing);
ColorData colorOfXyz(const ColorData& xyz, std::uint32_t space, const Viewing& viewing);
ColorData colorOfLab(const ColorData& lab, std::uint32_t space, const Viewing& viewing);

/// ΔE*ab of two colours given as L*, a*, b*.
inline double deltaEab(const ColorData& lab1, const ColorData& lab2) {
    return difference({}, lab1, lab2);
}

/// \param srgb a colour of ColorSpaceSrgb.
Rgb toRgb(const ColorData& srgb);
Rgb rgbOfSpectrum(const Spectrum& spectrum, const Viewing& viewing);
Rgb rgbOfLab(const ColorData& lab, const Viewing& viewing);

/// As in "#735244".
std::string hexColor(const Rgb& color);

}  // namespace cqtool

#pragma once

#include <cstdint>
#include <string>

#include "colour/ColorNames.h"
#include "colour/Spectrum.h"
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

/// CIE 1976 colour difference of two colours given as L*, a*, b* (ISO/CIE 11664-4): their distance.
double deltaEab(const ColorData& lab1, const ColorData& lab2);

/// What CIEDE2000 makes of a place in the L*, a*, b* space, all parametric factors being 1
/// (CIE 142-2001, ISO/CIE 11664-6:2014).
struct Ciede2000Weights {
    double stretch;    ///< what a* is multiplied by: 1 + G
    double hue;        ///< hue angle h' in radians, of the stretched a* and b*
    double lightness;  ///< S_L
    double chroma;     ///< S_C
    double hueWeight;  ///< S_H
    double rotation;   ///< R_T

    /// ΔE00 of a small difference of the same lightness from this place.
    double difference(double a, double b) const;
};

Ciede2000Weights ciede2000WeightsAt(const ColorData& lab);

/// CIEDE2000 colour difference, as above.
double deltaE00(const ColorData& lab1, const ColorData& lab2);

/// \param srgb a colour of ColorSpaceSrgb.
Rgb toRgb(const ColorData& srgb);
Rgb rgbOfSpectrum(const Spectrum& spectrum, const Viewing& viewing);
Rgb rgbOfLab(const ColorData& lab, const Viewing& viewing);

/// As in "#735244".
std::string hexColor(const Rgb& color);

}  // namespace cqtool

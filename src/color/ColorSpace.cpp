#include "color/ColorSpace.h"

#include "color/Conversions.h"
#include "color/Integration.h"

namespace ovk::color {
namespace {

/// As Yxy, with Y on the scale on which the perfect white is 1.
Triple xyzToYxyUnit(const Triple& xyz) {
    const auto [luminance, x, y] = xyzToYxy(xyz);
    return {luminance / 100.0f, x, y};
}

}  // namespace

bool fromXyz(const Triple& xyz, Viewing viewing, ColorSpace space, Triple& result) {
    const Triple& white = whitePoint(viewing);
    switch (space) {
        case ColorSpace::lab:
            result = xyzToLab(xyz, white);
            return true;
        case ColorSpace::xyz:
            result = xyz;
            return true;
        case ColorSpace::yxy:
            result = xyzToYxy(xyz);
            return true;
        case ColorSpace::lch:
            result = labToLch(xyzToLab(xyz, white));
            return true;
        case ColorSpace::luv:
            result = xyzToLuv(xyz, white);
            return true;
        case ColorSpace::hunterLab:
            result = xyzToHunterLab(xyz, viewing);
            return true;
        case ColorSpace::srgb:
            result = labToSrgb(xyzToLab(xyz, white));
            return true;
        case ColorSpace::yxyUnit:
            result = xyzToYxyUnit(xyz);
            return true;
        case ColorSpace::din99:
            result = labToDin99(xyzToLab(xyz, white));
            return true;
    }
    return false;
}

bool fromLab(const Triple& lab, Viewing viewing, ColorSpace space, Triple& result) {
    switch (space) {
        case ColorSpace::lab:
            result = lab;
            return true;
        case ColorSpace::lch:
            result = labToLch(lab);
            return true;
        case ColorSpace::srgb:
            result = labToSrgb(lab);
            return true;
        case ColorSpace::din99:
            result = labToDin99(lab);
            return true;
        default:
            return fromXyz(labToXyz(lab, whitePoint(viewing)), viewing, space, result);
    }
}

bool fromReflectance(Spectrum reflectance, Viewing viewing, ColorSpace space, Triple& result) {
    const auto [x, y, z] = integrate(reflectance, viewing);
    const Triple xyz{static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
    return fromXyz(xyz, viewing, space, result);
}

}  // namespace ovk::color

#pragma once

/** @file
 * The colour functions of CQApi.h for C++20. Included by CQApi.hpp; a program without an instrument
 * can include it alone.
 */

#include <array>
#include <cstdint>
#include <span>
#include <stdexcept>

#include "cqapi/CQApi.h"
#include "cqapi/Error.hpp"

namespace cqapi {

/** 31 reflectance factors at 400, 410 ... 700 nm; 1.0 is the perfect white. */
using Spectrum = std::array<float, 31>;

/** The three values of a colour; ColorSpace gives their meaning. */
using Color = std::array<float, 3>;

namespace detail {

inline void checkColorArguments(ColorSpace space, Illuminant illuminant, Observer observer) {
    const auto isWithin = [](int value, int last) { return value >= 0 && value <= last; };
    if (!isWithin(space, ColorSpaceDin99) || space == 7) {
        throw std::invalid_argument("not a colour space");
    }
    if (!isWithin(illuminant, IlluminantF12) || !isWithin(observer, Observer10Degree)) {
        throw std::invalid_argument("not an illuminant, or not an observer");
    }
}

inline Color toColor(std::uint32_t code, const ColorData& data, const char* call) {
    check(code, call);
    return {data.values[0], data.values[1], data.values[2]};
}

}  // namespace detail

/** Colour of a spectrum. Like the two below, it needs no instrument and may run on any thread.
 *  @throw std::invalid_argument for an unknown space, illuminant or observer. */
inline Color colorFromSpectrum(std::span<const float, 31> spectrum, ColorSpace space,
                               Illuminant illuminant = IlluminantD65,
                               Observer observer = Observer10Degree) {
    detail::checkColorArguments(space, illuminant, observer);
    ColorData data{};
    const std::uint32_t code =
        cqGetColorDataFromSpectralData(spectrum.data(), space, illuminant, observer, &data);
    return detail::toColor(code, data, "cqGetColorDataFromSpectralData");
}

/** @param xyz  under this illuminant and observer; the perfect white has Y = 100. */
inline Color colorFromXyz(const Color& xyz, ColorSpace space, Illuminant illuminant = IlluminantD65,
                          Observer observer = Observer10Degree) {
    detail::checkColorArguments(space, illuminant, observer);
    ColorData data{};
    const std::uint32_t code =
        cqGetColorDataFromXyz(illuminant, observer, xyz.data(), space, &data);
    return detail::toColor(code, data, "cqGetColorDataFromXyz");
}

/** @param lab  L*, a*, b* under this illuminant and observer. */
inline Color colorFromLab(const Color& lab, ColorSpace space, Illuminant illuminant = IlluminantD65,
                          Observer observer = Observer10Degree) {
    detail::checkColorArguments(space, illuminant, observer);
    ColorData data{};
    const std::uint32_t code =
        cqGetColorDataFromLab(illuminant, observer, lab.data(), space, &data);
    return detail::toColor(code, data, "cqGetColorDataFromLab");
}

}  // namespace cqapi

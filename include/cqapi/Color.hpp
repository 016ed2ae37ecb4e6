#pragma once

/** @file
 * The colour functions of CQApi.h for C++20. Included by CQApi.hpp; a program without an instrument
 * can include it alone.
 */

#include <array>
#include <cstdint>
#include <optional>
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

inline ColorData toData(const Color& color) {
    return {{color[0], color[1], color[2]}};
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

/** How a trial differs from a standard, both L*, a*, b*.
 *  @param factors  kL, kC, kH, or l, c and one that is not read; the usual ones unless given.
 *  @throw Error    for a factor that is not above 0. */
inline CqColorDifference colorDifference(
    const Color& standard, const Color& trial, CqDifferenceFormula formula = CqDeltaE2000,
    const std::optional<std::array<float, 3>>& factors = std::nullopt) {
    const ColorData first = detail::toData(standard);
    const ColorData second = detail::toData(trial);
    CqColorDifference difference{};
    check(cqGetColorDifference(formula, factors ? factors->data() : nullptr, &first, &second,
                               &difference),
          "cqGetColorDifference");
    return difference;
}

/** An index, and whether the colour is within the limits of its standard. */
struct IndexValue {
    float value;
    bool isWithinLimits;
};

/** Whiteness, tint or yellowness of X, Y, Z.
 *  @throw Error  with CQ_NOT_SUPPORTED where the index is not defined for this illuminant and
 *                observer, with CQ_INVALID_PARAMETER for a colour without luminance. */
inline IndexValue colorIndex(CqColorIndex index, const Color& xyz,
                             Illuminant illuminant = IlluminantD65,
                             Observer observer = Observer10Degree) {
    const ColorData data = detail::toData(xyz);
    IndexValue result{};
    check(
        cqGetColorIndex(index, illuminant, observer, &data, &result.value, &result.isWithinLimits),
        "cqGetColorIndex");
    return result;
}

/** Relative colour strength of a trial in percent of the standard's. The viewing counts for
 *  CqStrengthWeighted alone.
 *  @throw Error  with CQ_INVALID_PARAMETER where K/S is not defined. */
inline float colorStrength(std::span<const float, 31> standard, std::span<const float, 31> trial,
                           CqStrengthMethod method = CqStrengthWeighted,
                           Illuminant illuminant = IlluminantD65,
                           Observer observer = Observer10Degree) {
    float percent = 0;
    check(cqGetColorStrength(method, illuminant, observer, standard.data(), trial.data(), &percent),
          "cqGetColorStrength");
    return percent;
}

/** Special metamerism index for a change from one illuminant to another.
 *  @throw Error  with CQ_INVALID_PARAMETER for a trial that is black under the reference. */
inline float metamerismIndex(std::span<const float, 31> standard, std::span<const float, 31> trial,
                             Illuminant reference = IlluminantD65, Illuminant test = IlluminantA,
                             CqDifferenceFormula formula = CqDeltaE2000,
                             CqMetamerismCorrection correction = CqMetamerismMultiplicative,
                             Observer observer = Observer10Degree) {
    float index = 0;
    check(cqGetMetamerismIndex(formula, correction, reference, test, observer, standard.data(),
                               trial.data(), &index),
          "cqGetMetamerismIndex");
    return index;
}

/** A grey scale's rating, and the step of the scale: 5, 4.5, 4 ... 1. */
struct GreyScaleRating {
    float rating;
    float step;
};

/** Rates a change of colour or a stain; both colours are L*, a*, b*. */
inline GreyScaleRating greyScaleRating(CqGreyScale scale, const Color& standard,
                                       const Color& trial) {
    const ColorData first = detail::toData(standard);
    const ColorData second = detail::toData(trial);
    GreyScaleRating result{};
    check(cqGetGreyScaleRating(scale, &first, &second, &result.rating, &result.step),
          "cqGetGreyScaleRating");
    return result;
}

}  // namespace cqapi

#include <cstring>

#include "color/ColorSpace.h"
#include "cqapi/CQApi.h"

namespace {

using ovk::color::fromLab;
using ovk::color::fromReflectance;
using ovk::color::fromXyz;
using ovk::color::kSpectrumSamples;
using ovk::color::Spectrum;
using ovk::color::Triple;
using ovk::color::Viewing;
using Space = ovk::color::ColorSpace;

static_assert(static_cast<std::uint32_t>(Space::srgb) == ColorSpaceSrgb &&
              static_cast<std::uint32_t>(Space::din99) == ColorSpaceDin99);

Triple tripleAt(const float* values) {
    return {values[0], values[1], values[2]};
}

/// Converts by `convert(viewing, result)`, which says whether the colour space is assigned.
// ColorData is packed and may lie anywhere in the caller's memory: copied, not converted into.
template <typename Convert>
std::uint32_t convertTo(ColorData* color, Viewing viewing, Convert&& convert) {
    if (!viewing.isKnown()) {
        return CQ_INVALID_PARAMETER;
    }
    Triple result;
    if (!convert(viewing, result)) {
        return CQ_HAS_CONNECTED;
    }
    std::memcpy(color, result.data(), sizeof *color);
    return CQ_NO_ERROR;
}

}  // namespace

uint32_t cqGetColorDataFromSpectralData(const float* spectrum, uint32_t colorSpace,
                                        int32_t illuminant, int32_t observer, ColorData* color) {
    return convertTo(color, {illuminant, observer}, [&](Viewing viewing, Triple& result) {
        return fromReflectance(Spectrum{spectrum, kSpectrumSamples}, viewing, Space{colorSpace},
                               result);
    });
}

uint32_t cqGetColorDataFromXyz(int32_t illuminant, int32_t observer, const float* xyz,
                               uint32_t colorSpace, ColorData* color) {
    return convertTo(color, {illuminant, observer}, [&](Viewing viewing, Triple& result) {
        return fromXyz(tripleAt(xyz), viewing, Space{colorSpace}, result);
    });
}

uint32_t cqGetColorDataFromLab(int32_t illuminant, int32_t observer, const float* lab,
                               uint32_t colorSpace, ColorData* color) {
    return convertTo(color, {illuminant, observer}, [&](Viewing viewing, Triple& result) {
        return fromLab(tripleAt(lab), viewing, Space{colorSpace}, result);
    });
}

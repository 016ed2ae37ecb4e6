#include <cstring>

#include "color/ColorSpace.h"
#include "cqapi/CQApi.h"

namespace {

using ovk::color::fromLab;
using ovk::color::fromReflectance;
using ovk::color::fromXyz;
using ovk::color::SpectralGrid;
using ovk::color::Triple;
using Space = ovk::color::ColorSpace;

static_assert(static_cast<std::uint32_t>(Space::kSrgb) == ColorSpaceSrgb &&
              static_cast<std::uint32_t>(Space::kDin99) == ColorSpaceDin99);

Triple tripleAt(const float* values) {
    return {values[0], values[1], values[2]};
}

// ColorData is packed and may lie anywhere in the caller's memory: copied, not converted into.
std::uint32_t store(bool isAssigned, const Triple& result, ColorData* color) {
    if (!isAssigned) {
        return CQ_HAS_CONNECTED;
    }
    std::memcpy(color, result.data(), sizeof *color);
    return CQ_NO_ERROR;
}

}  // namespace

uint32_t cqGetColorDataFromSpectralData(const float* spectrum, uint32_t colorSpace,
                                        int32_t illuminant, int32_t observer, ColorData* color) {
    const SpectralGrid reflectance{400, 10, 31, spectrum};
    Triple result;
    const bool isAssigned =
        fromReflectance(reflectance, {illuminant, observer}, Space{colorSpace}, result);
    return store(isAssigned, result, color);
}

uint32_t cqGetColorDataFromXyz(int32_t illuminant, int32_t observer, const float* xyz,
                               uint32_t colorSpace, ColorData* color) {
    Triple result;
    const bool isAssigned =
        fromXyz(tripleAt(xyz), {illuminant, observer}, Space{colorSpace}, result);
    return store(isAssigned, result, color);
}

uint32_t cqGetColorDataFromLab(int32_t illuminant, int32_t observer, const float* lab,
                               uint32_t colorSpace, ColorData* color) {
    Triple result;
    const bool isAssigned =
        fromLab(tripleAt(lab), {illuminant, observer}, Space{colorSpace}, result);
    return store(isAssigned, result, color);
}

#include <cstring>

#include "color/ColorSpace.h"
#include "cqapi/CQApi.h"

namespace {

namespace color = ovk::color;

static_assert(static_cast<std::uint32_t>(color::ColorSpace::kSrgb) == ColorSpaceSrgb &&
              static_cast<std::uint32_t>(color::ColorSpace::kDin99) == ColorSpaceDin99);

color::ColorSpace spaceOf(std::uint32_t number) { return static_cast<color::ColorSpace>(number); }

color::Triple tripleAt(const float* values) { return {values[0], values[1], values[2]}; }

std::uint32_t store(const std::optional<color::Triple>& result, ColorData* output) {
    if (!result) {
        return CQ_HAS_CONNECTED;
    }
    std::memcpy(output->values, result->data(), sizeof output->values);
    return CQ_NO_ERROR;
}

}  // namespace

uint32_t cqGetColorDataFromSpectralData(const float* spectrum, uint32_t colorSpace,
                                        int32_t illuminant, int32_t observer, ColorData* color) {
    const color::SpectralGrid reflectance{400, 10, 31, spectrum};
    return store(color::fromReflectance(reflectance, {illuminant, observer}, spaceOf(colorSpace)),
                 color);
}

uint32_t cqGetColorDataFromXyz(int32_t illuminant, int32_t observer, const float* xyz,
                               uint32_t colorSpace, ColorData* color) {
    return store(color::fromXyz(tripleAt(xyz), {illuminant, observer}, spaceOf(colorSpace)), color);
}

uint32_t cqGetColorDataFromLab(int32_t illuminant, int32_t observer, const float* lab,
                               uint32_t colorSpace, ColorData* color) {
    return store(color::fromLab(tripleAt(lab), {illuminant, observer}, spaceOf(colorSpace)), color);
}

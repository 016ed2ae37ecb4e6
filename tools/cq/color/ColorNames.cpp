#include "color/ColorNames.h"

#include <algorithm>

#include "cqapi/CQApi.h"
#include "Failure.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr SpaceInfo kSpaces[] = {
    {ColorSpaceLab, "lab", {"L*", "a*", "b*"}, {"L", "a", "b"}, {2, 2, 2}},
    {ColorSpaceXyz, "xyz", {"X", "Y", "Z"}, {"X", "Y", "Z"}, {3, 3, 3}},
    {ColorSpaceYxy, "yxy", {"Y", "x", "y"}, {"Y", "x", "y"}, {3, 4, 4}},
    {ColorSpaceLch, "lch", {"L*", "C*", "h°"}, {"L", "C", "h"}, {2, 2, 2}},
    {ColorSpaceLuv, "luv", {"L*", "u*", "v*"}, {"L", "u", "v"}, {2, 2, 2}},
    {ColorSpaceHunterLab, "hunterlab", {"L(H)", "a(H)", "b(H)"}, {"L", "a", "b"}, {2, 2, 2}},
    {ColorSpaceSrgb, "srgb", {"R", "G", "B"}, {"R", "G", "B"}, {4, 4, 4}},
    {ColorSpaceYxyUnit, "yxy-unit", {"Y/100", "x", "y"}, {"Y", "x", "y"}, {5, 4, 4}},
    {ColorSpaceDin99, "din99", {"L99", "a99", "b99"}, {"L99", "a99", "b99"}, {2, 2, 2}},
};

// Indexed by Illuminant.
constexpr const char* kIlluminants[] = {"D65", "D50", "A",  "C",   "D55", "D75",
                                        "F1",  "F2",  "F3", "F4",  "F5",  "F6",
                                        "F7",  "F8",  "F9", "F10", "F11", "F12"};

}  // namespace

std::span<const SpaceInfo> colorSpaces() {
    return kSpaces;
}

const SpaceInfo& colorSpace(std::uint32_t number) {
    return *std::find_if(std::begin(kSpaces), std::end(kSpaces) - 1,
                         [number](const SpaceInfo& space) { return space.number == number; });
}

const SpaceInfo& colorSpaceNamed(std::string_view name) {
    const std::string wanted = lowerCase(name);
    for (const SpaceInfo& space : kSpaces) {
        if (wanted == space.name) {
            return space;
        }
    }
    throw UsageError("no colour space is called '" + std::string(name) +
                     "'; there are: " + colorSpaceNames());
}

std::int32_t illuminantNamed(std::string_view name) {
    const std::string wanted = lowerCase(name);
    for (std::size_t i = 0; i < std::size(kIlluminants); ++i) {
        if (wanted == lowerCase(kIlluminants[i])) {
            return static_cast<std::int32_t>(i);
        }
    }
    throw UsageError("no illuminant is called '" + std::string(name) +
                     "'; there are: " + illuminantNames());
}

std::int32_t observerNamed(std::string_view name) {
    if (name == "2") {
        return Observer2Degree;
    }
    if (name == "10") {
        return Observer10Degree;
    }
    throw UsageError("the observer must be 2 or 10 (degrees), not '" + std::string(name) + "'");
}

const char* illuminantName(std::int32_t illuminant) {
    return kIlluminants[static_cast<std::size_t>(illuminant)];
}

int observerDegrees(std::int32_t observer) {
    return observer == Observer2Degree ? 2 : 10;
}

std::string viewingName(const Viewing& viewing) {
    return std::string(illuminantName(viewing.illuminant)) + "/" +
           std::to_string(observerDegrees(viewing.observer)) + "°";
}

std::string colorSpaceNames() {
    std::vector<std::string> names;
    for (const SpaceInfo& space : kSpaces) {
        names.emplace_back(space.name);
    }
    return joined(names, ", ");
}

std::string illuminantNames() {
    return joined({std::begin(kIlluminants), std::end(kIlluminants)}, ", ");
}

}  // namespace cqtool

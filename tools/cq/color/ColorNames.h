#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace cqtool {

/// A colour space in cq's notation.
struct SpaceInfo {
    std::uint32_t number;                ///< of the header's ColorSpace
    const char* name;                    ///< its name on the command line
    std::array<const char*, 3> symbols;  ///< of its components, for people
    std::array<const char*, 3> keys;     ///< the same in JSON and CSV
    std::array<int, 3> decimals;         ///< worth showing
};

/// The illuminant and the observer that colours are computed for.
struct Viewing {
    std::int32_t illuminant = 0;  ///< a value of Illuminant
    std::int32_t observer = 1;    ///< a value of Observer
};

/// All spaces, ordered by number.
std::span<const SpaceInfo> colorSpaces();

/// \param number an assigned number of ColorSpace.
const SpaceInfo& colorSpace(std::uint32_t number);

/// The space, illuminant or observer with this name, in upper or lower case; throws UsageError with
/// the available names.
const SpaceInfo& colorSpaceNamed(std::string_view name);
std::int32_t illuminantNamed(std::string_view name);
std::int32_t observerNamed(std::string_view name);

const char* illuminantName(std::int32_t illuminant);
/// 2 or 10.
int observerDegrees(std::int32_t observer);
/// As in "D65/10°".
std::string viewingName(const Viewing& viewing);

/// The available names, for help texts: "lab, xyz, ...".
std::string colorSpaceNames();
std::string illuminantNames();

}  // namespace cqtool

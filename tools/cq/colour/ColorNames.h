#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace cqtool {

/// A colour space as cq writes it.
struct SpaceInfo {
    std::uint32_t number;                ///< of the header's ColorSpace
    const char* name;                    ///< what the command line calls it
    std::array<const char*, 3> symbols;  ///< of its components, for people
    std::array<const char*, 3> keys;     ///< the same in JSON and CSV
    std::array<int, 3> decimals;         ///< that are worth showing
};

/// The white and the eye that colours are computed for.
struct Viewing {
    std::int32_t illuminant = 0;  ///< a value of Illuminant
    std::int32_t observer = 1;    ///< a value of Observer
};

/// All spaces, in the order of their numbers.
std::span<const SpaceInfo> colorSpaces();

/// \param number an assigned number of ColorSpace.
const SpaceInfo& colorSpace(std::uint32_t number);

/// The space, illuminant or observer of this name, in any case of letters; throws UsageError with
/// the names that there are.
const SpaceInfo& colorSpaceNamed(std::string_view name);
std::int32_t illuminantNamed(std::string_view name);
std::int32_t observerNamed(std::string_view name);

const char* illuminantName(std::int32_t illuminant);
/// 2 or 10.
int observerDegrees(std::int32_t observer);
/// As in "D65/10°".
std::string viewingName(const Viewing& viewing);

/// Names that can be given, for help texts: "lab, xyz, ...".
std::string colorSpaceNames();
std::string illuminantNames();

}  // namespace cqtool

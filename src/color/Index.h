#pragma once

#include <cstdint>
#include <optional>

#include "color/Lab.h"
#include "color/WeightingTable.h"

/// \file
/// Whiteness, tint and yellowness of nearly white colours, from X, Y, Z.

namespace ovk::color {

enum class Index : std::uint32_t {
    whitenessCie = 0,
    tintCie = 1,
    whitenessE313 = 2,
    tintE313 = 3,
    yellownessE313 = 4,
    yellownessD1925 = 5,
};

inline constexpr std::uint32_t kIndices = 6;

/// Whether the index has coefficients for an illuminant and observer.
bool isDefinedFor(Index index, Viewing viewing);

struct IndexValue {
    double value;
    /// Whiteness and tint: whether the colour is within the limits of both. Yellowness has none.
    bool isWithinLimits;
};

/// Nothing unless Y and X + Y + Z are above 0. The index must be defined for `viewing`.
std::optional<IndexValue> indexOf(Index index, Viewing viewing, const Tristimulus& xyz);

}  // namespace ovk::color

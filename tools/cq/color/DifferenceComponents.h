#pragma once

#include <array>

#include "cqapi/CQApi.h"

namespace cqtool {

/// A part of a difference: the trial's value less the standard's.
struct DifferenceComponent {
    const char* symbol;
    const char* key;   ///< in JSON
    const char* name;  ///< in limits
    float CqColorDifference::*value;
};

inline constexpr std::array<DifferenceComponent, 5> kDifferenceComponents{
    {{"ΔL*", "deltaL", "dL", &CqColorDifference::deltaL},
     {"Δa*", "deltaA", "da", &CqColorDifference::deltaA},
     {"Δb*", "deltaB", "db", &CqColorDifference::deltaB},
     {"ΔC*", "deltaC", "dC", &CqColorDifference::deltaC},
     {"ΔH*", "deltaH", "dH", &CqColorDifference::deltaH}}};

}  // namespace cqtool

#pragma once

#include <array>

#include "cqapi/CQApi.h"

namespace cqtool {

/// A part of a difference: the trial's value less the standard's.
struct DifferenceComponent {
    const char* symbol;
    const char* key;  ///< in JSON
    float CqColorDifference::*value;
};

inline constexpr std::array<DifferenceComponent, 5> kDifferenceComponents{
    {{"ΔL*", "deltaL", &CqColorDifference::deltaL},
     {"Δa*", "deltaA", &CqColorDifference::deltaA},
     {"Δb*", "deltaB", &CqColorDifference::deltaB},
     {"ΔC*", "deltaC", &CqColorDifference::deltaC},
     {"ΔH*", "deltaH", &CqColorDifference::deltaH}}};

}  // namespace cqtool

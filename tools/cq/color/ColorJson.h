#pragma once

#include "color/ColorMath.h"
#include "color/ColorNames.h"
#include "color/Spectrum.h"
#include "text/JsonObject.h"

namespace cqtool {

/// The components under their keys, as in {"L": 37.54, "a": 14.37, "b": 14.92}.
JsonObject colorJson(const ColorData& color, const SpaceInfo& space);

/// {"start": 400, "step": 10, "values": [...]}.
JsonObject spectrumJson(const Spectrum& spectrum);

/// Adds a trial's difference: "deltaEab", and by another formula "formula" and "deltaE", too.
void addDifference(JsonObject& json, const DifferenceFormula& formula, const ColorData& standardLab,
                   const ColorData& trialLab);

}  // namespace cqtool

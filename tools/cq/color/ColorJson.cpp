#include "color/ColorJson.h"

#include "text/Numbers.h"

namespace cqtool {
JsonObject colorJson(const ColorData& color, const SpaceInfo& space) {
    JsonObject json;
    for (std::size_t i = 0; i < space.keys.size(); ++i) {
        json[space.keys[i]] = shortest(color.values[i]);
    }
    return json;
}

JsonObject spectrumJson(const Spectrum& spectrum) {
    JsonList values;
    for (const float value : spectrum) {
        values.push_back(shortest(value));
    }
    return {{"start", kFirstWavelength}, {"step", kWavelengthStep}, {"values", std::move(values)}};
}

void addDifference(JsonObject& json, const DifferenceFormula& formula, const ColorData& standardLab,
                   const ColorData& trialLab) {
    json["deltaEab"] = deltaEab(standardLab, trialLab);
    if (formula != DifferenceFormula{}) {
        json["formula"] = nameOf(formula);
        json["deltaE"] = difference(formula, standardLab, trialLab);
    }
}

}  // namespace cqtool

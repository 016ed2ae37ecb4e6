#include "colour/ColorJson.h"

#include <cstdio>

#include "text/Numbers.h"

namespace cqtool {

Json colorJson(const ColorData& color, const SpaceInfo& space) {
    Json json;
    for (std::size_t i = 0; i < space.keys.size(); ++i) {
        json[space.keys[i]] = shortest(color.values[i]);
    }
    return json;
}

Json spectrumJson(const Spectrum& spectrum) {
    Json values = Json::array();
    for (const float value : spectrum) {
        values.push_back(shortest(value));
    }
    return {{"start", kFirstWavelength}, {"step", kWavelengthStep}, {"values", std::move(values)}};
}

void addDifference(Json& json, const DifferenceFormula& formula, const ColorData& standardLab,
                   const ColorData& trialLab) {
    json["deltaEab"] = deltaEab(standardLab, trialLab);
    if (formula != DifferenceFormula{}) {
        json["formula"] = nameOf(formula);
        json["deltaE"] = difference(formula, standardLab, trialLab);
    }
}

Json orNull(const std::string& text) {
    return text.empty() ? Json() : Json(text);
}

std::string hexText(const std::uint8_t* bytes, std::size_t size) {
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", bytes[i]);
        text += digits;
    }
    return text;
}

std::string pageOfJson(const Json& json) {
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string lineOfJson(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace cqtool

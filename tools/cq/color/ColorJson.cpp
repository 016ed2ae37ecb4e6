#include "color/ColorJson.h"

#include <cstdio>

#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

/// JSON itself escapes the control characters up to U+001F; this does it with U+007F to U+009F.
std::string withoutControls(const std::string& json) {
    std::string text;
    for (std::size_t i = 0; i < json.size(); ++i) {
        const bool isTwoBytes = json[i] == '\xC2' && i + 1 < json.size();
        const auto code = static_cast<unsigned char>(json[isTwoBytes ? i + 1 : i]);
        if (json[i] == '\x7F' || (isTwoBytes && code < 0xA0)) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(code));
            text += escape;
            i += isTwoBytes ? 1 : 0;
        } else {
            text += json[i];
        }
    }
    return text;
}

}  // namespace

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

bool bytesOfHex(std::string_view digits, std::span<std::uint8_t> bytes) {
    static constexpr std::string_view kDigits = "0123456789abcdef";
    const std::string text = lowerCase(digits);
    if (text.size() != 2 * bytes.size() || text.find_first_not_of(kDigits) != std::string::npos) {
        return false;
    }
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(kDigits.find(text[2 * i]) << 4 |
                                             kDigits.find(text[2 * i + 1]));
    }
    return true;
}

std::string pageOfJson(const Json& json) {
    return withoutControls(json.dump(2, ' ', false, Json::error_handler_t::replace)) + '\n';
}

std::string lineOfJson(const Json& json) {
    return withoutControls(json.dump(-1, ' ', false, Json::error_handler_t::replace)) + '\n';
}

}  // namespace cqtool

#pragma once

#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <string_view>

#include "color/ColorMath.h"
#include "color/ColorNames.h"
#include "color/Spectrum.h"

namespace cqtool {

/// Members keep the order in which they are inserted.
using Json = nlohmann::ordered_json;

/// The components under their keys, as in {"L": 37.54, "a": 14.37, "b": 14.92}; not-a-number and
/// infinities are null.
Json colorJson(const ColorData& color, const SpaceInfo& space);

/// {"start": 400, "step": 10, "values": [...]}.
Json spectrumJson(const Spectrum& spectrum);

/// Adds a trial's difference: "deltaEab", and by another formula "formula" and "deltaE", too.
void addDifference(Json& json, const DifferenceFormula& formula, const ColorData& standardLab,
                   const ColorData& trialLab);

/// The text; null for none.
Json orNull(const std::string& text);

/// Two hexadecimal digits a byte.
std::string hexText(const std::uint8_t* bytes, std::size_t size);
/// The reverse; false if these are not exactly the digits of so many bytes.
bool bytesOfHex(std::string_view digits, std::span<std::uint8_t> bytes);

/// For people: indented, ended by a line feed.
std::string pageOfJson(const Json& json);
/// One line, with its line feed.
std::string lineOfJson(const Json& json);

}  // namespace cqtool

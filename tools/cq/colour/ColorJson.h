#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "colour/ColorMath.h"
#include "colour/ColorNames.h"
#include "colour/Spectrum.h"

namespace cqtool {

/// Members stay in the order in which they are put in.
using Json = nlohmann::ordered_json;

/// The components under their keys, as in {"L": 37.54, "a": 14.37, "b": 14.92}; one that is
/// not-a-number or infinite is null.
Json colorJson(const ColorData& color, const SpaceInfo& space);

/// {"start": 400, "step": 10, "values": [...]}.
Json spectrumJson(const Spectrum& spectrum);

/// Two hexadecimal digits a byte.
std::string hexText(const std::uint8_t* bytes, std::size_t size);

/// For people: indented, with a line feed at the end.
std::string pageOfJson(const Json& json);
/// One line, with its line feed.
std::string lineOfJson(const Json& json);

}  // namespace cqtool

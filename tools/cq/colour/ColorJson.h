#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "colour/ColorMath.h"
#include "colour/ColorNames.h"
#include "colour/Spectrum.h"

namespace cqtool {

/// Members keep the order in which they are inserted.
using Json = nlohmann::ordered_json;

/// The components under their keys, as in {"L": 37.54, "a": 14.37, "b": 14.92}; not-a-number and
/// infinities are null.
Json colorJson(const ColorData& color, const SpaceInfo& space);

/// {"start": 400, "step": 10, "values": [...]}.
Json spectrumJson(const Spectrum& spectrum);

/// Two hexadecimal digits a byte.
std::string hexText(const std::uint8_t* bytes, std::size_t size);

/// For people: indented, ended by a line feed.
std::string pageOfJson(const Json& json);
/// One line, with its line feed.
std::string lineOfJson(const Json& json);

}  // namespace cqtool

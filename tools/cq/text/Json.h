#pragma once

#include <nlohmann/json.hpp>

#include "text/JsonForward.h"
#include "text/JsonObject.h"

namespace cqtool {

/// What was to be printed as JSON that can be read.
Json readable(const JsonValue& value);

}  // namespace cqtool

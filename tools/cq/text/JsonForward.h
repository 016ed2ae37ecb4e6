#pragma once

#include <nlohmann/json_fwd.hpp>

namespace cqtool {

/// JSON that is read; members keep their order. Include text/Json.h to use it.
using Json = nlohmann::ordered_json;

}  // namespace cqtool

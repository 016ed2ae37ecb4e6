#pragma once

#include <string>

#include "manual/Outline.h"

namespace cqtool {

/// The manual page in the form that man and groff read. Options that several commands share are
/// described once.
/// \param version as in "1.0.0".
std::string manPage(const CommandOutline& program, const std::string& version);

}  // namespace cqtool

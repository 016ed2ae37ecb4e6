#pragma once

#include <string>

#include "manual/Outline.h"

namespace cqtool {

/// The manual page for man and groff. Options shared by several commands are described once.
/// \param version as in "1.0.0".
std::string manPage(const CommandOutline& program, const std::string& version);

}  // namespace cqtool

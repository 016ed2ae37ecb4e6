#pragma once

#include <string>

#include "manual/Outline.h"

namespace cqtool {

/// A script that completes cq's command line: commands, options, and values that are words, files
/// or serial ports.
/// \param shell "bash", "zsh" or "fish".
std::string completionScript(const CommandOutline& program, const std::string& shell);

}  // namespace cqtool

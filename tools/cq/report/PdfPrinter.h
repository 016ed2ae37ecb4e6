#pragma once

#include <string>

#include "system/Interrupt.h"

namespace cqtool {

/// A page as PDF, printed by a browser without a window; takes a few seconds. Throws Failure, with
/// what can be done instead, if there is no browser or it prints nothing; Interrupted on Ctrl-C.
std::string pdfOf(const std::string& page, const Interrupt& interrupt);

}  // namespace cqtool

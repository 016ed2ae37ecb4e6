#pragma once

#include <iosfwd>

#include "commands/Program.h"

namespace cqtool {

/// What the help says of `cq serve`.
void addServe(Program& program);

/// Carries out `cq serve ...`, which another program does in this one's place.
ExitStatus serveInstead(int argc, char** argv, std::ostream& notes);

}  // namespace cqtool

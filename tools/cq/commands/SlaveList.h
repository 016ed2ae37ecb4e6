#pragma once

#include <string>
#include <vector>

#include "instrument/Slaves.h"
#include "terminal/Palette.h"
#include "text/JsonObject.h"

namespace cqtool {

/// A header line, then one line for each; the first, which is the strongest, is marked.
std::vector<std::string> slaveLines(const std::vector<Slave>& slaves, const Palette& palette);

/// An array; texts that the library could not pass on are null.
JsonList slavesJson(const std::vector<Slave>& slaves);

}  // namespace cqtool

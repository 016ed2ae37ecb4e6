#pragma once

#include <string>
#include <vector>

#include "color/ColorJson.h"
#include "instrument/Slaves.h"
#include "terminal/Palette.h"

namespace cqtool {

/// A header line, then one line for each; the first, which is the strongest, is marked.
std::vector<std::string> slaveLines(const std::vector<Slave>& slaves, const Palette& palette);

/// An array; texts that the library could not pass on are null.
Json slavesJson(const std::vector<Slave>& slaves);

}  // namespace cqtool

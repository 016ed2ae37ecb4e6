#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "job/Limit.h"
#include "terminal/Palette.h"

namespace cqtool {

/// A pair of colours and the verdict on it, to be read across a room: the standard and the trial side by
/// side, then the grade's sign and word in large letters on green, amber or red. Smaller where the
/// terminal is narrow, and nothing without colours.
/// \param grade nothing: the pair alone. \param columns of the terminal.
std::vector<std::string> verdictPanel(std::optional<Grade> grade, const Rgb& standard,
                                      const Rgb& trial, const Palette& palette,
                                      std::size_t columns);

}  // namespace cqtool

#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace cqtool {

/// The indices named by texts such as "3" and "7-9", each once, from the highest down.
/// Throws UsageError for any other text, a range that runs backwards, and an index above a million,
/// which is more than instruments store.
std::vector<std::uint32_t> indicesOf(const std::vector<std::string>& texts);

/// As in "3" or "7 to 9": `count` of them, at least 1.
std::string rangeText(std::uint32_t first, std::uint32_t count);

}  // namespace cqtool

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cqtool {

/// The values that a message has in the places of a pattern.
struct LogMatch {
    std::vector<long> numbers;
    std::string rest;
};

/// Compares a whole message with a pattern, in which '%' stands for a decimal number and a '*' at
/// the end for the rest, which may be empty.
std::optional<LogMatch> matchLogText(std::string_view text, std::string_view pattern);

/// The bytes of a text such as "aa 55 a2"; nothing for any other text.
std::optional<std::vector<unsigned char>> bytesOfLogText(std::string_view text);

}  // namespace cqtool

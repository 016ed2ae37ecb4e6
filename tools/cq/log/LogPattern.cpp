#include "log/LogPattern.h"

#include <charconv>

namespace cqtool {

std::optional<LogMatch> matchLogText(std::string_view text, std::string_view pattern) {
    LogMatch match;
    for (const char c : pattern) {
        if (c == '*') {
            match.rest = text;
            return match;
        }
        if (c == '%') {
            long number = 0;
            const auto [end, error] =
                std::from_chars(text.data(), text.data() + text.size(), number);
            if (error != std::errc{}) {
                return std::nullopt;
            }
            match.numbers.push_back(number);
            text.remove_prefix(static_cast<std::size_t>(end - text.data()));
        } else {
            if (!text.starts_with(c)) {
                return std::nullopt;
            }
            text.remove_prefix(1);
        }
    }
    return text.empty() ? std::optional(match) : std::nullopt;
}

std::optional<std::vector<unsigned char>> bytesOfLogText(std::string_view text) {
    std::vector<unsigned char> bytes;
    while (!text.empty()) {
        unsigned char byte = 0;
        const char* const begin = text.data();
        const std::size_t size = text.size() < 2 ? text.size() : 2;
        const auto [end, error] = std::from_chars(begin, begin + size, byte, 16);
        if (error != std::errc{} || end != begin + 2) {
            return std::nullopt;
        }
        bytes.push_back(byte);
        text.remove_prefix(2);
        if (!text.empty()) {
            if (text.front() != ' ') {
                return std::nullopt;
            }
            text.remove_prefix(1);
        }
    }
    return bytes;
}

}  // namespace cqtool

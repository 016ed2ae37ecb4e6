#include "text/Numbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "text/Text.h"

namespace cqtool {
namespace {

// Enough for DBL_MAX with a sign, a point and the requested decimals.
using NumberBuffer = std::array<char, 400>;

}  // namespace

std::optional<double> parseNumber(std::string_view text, char decimalMark) {
    std::string digits(trimmed(text));
    if (decimalMark != '.') {
        if (digits.find('.') != std::string::npos) {
            return std::nullopt;
        }
        std::replace(digits.begin(), digits.end(), decimalMark, '.');
    }
    std::string_view rest = digits;
    if (rest.starts_with('+') && !rest.starts_with("+-")) {
        rest.remove_prefix(1);
    }
    double value = 0;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), value);
    if (error != std::errc{} || end != rest.data() + rest.size() || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

std::string fixed(double value, int decimals) {
    if (std::isnan(value)) {
        return "nan";
    }
    if (std::isinf(value)) {
        return value < 0 ? "-inf" : "inf";
    }
    NumberBuffer buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                   std::chars_format::fixed, decimals)
                         .ptr;
    std::string text(buffer.data(), end);
    if (text.starts_with('-') && text.find_first_of("123456789") == std::string::npos) {
        text.erase(0, 1);
    }
    return text;
}

std::string digitsOf(double value) {
    if (!std::isfinite(value)) {
        return fixed(value, 0);
    }
    NumberBuffer buffer;
    return {buffer.data(), std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr};
}

double shortest(float value) {
    if (!std::isfinite(value)) {
        return value;
    }
    NumberBuffer buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr;
    double result = 0;
    std::from_chars(buffer.data(), end, result);
    return result;
}

}  // namespace cqtool

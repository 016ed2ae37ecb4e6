#include "text/Text.h"

#include <algorithm>

#include "Failure.h"

namespace cqtool {
namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n";

bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

/// The length of the printable UTF-8 character at the front; 0 if there is none.
std::size_t printableLength(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    if (lead < 0x20 || lead == 0x7F) {
        return 0;
    }
    // U+0080..U+009F are control characters too.
    const std::size_t length = utf8Length(text);
    const bool isControl =
        lead == 0xC2 && length == 2 && static_cast<unsigned char>(text[1]) < 0xA0;
    return isControl ? 0 : length;
}

}  // namespace

std::size_t utf8Length(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    if (lead < 0x80) {
        return 1;
    }
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) {
        return 0;
    }
    const auto second = static_cast<unsigned char>(text[1]);
    // These would be overlong forms, surrogates or beyond U+10FFFF.
    const bool isRefused = (lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
                           (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F);
    const auto tail = text.substr(1, length - 1);
    return !isRefused && std::all_of(tail.begin(), tail.end(), isContinuation) ? length : 0;
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kWhiteSpace);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

std::string lowerCase(std::string_view text) {
    std::string result(text);
    for (char& letter : result) {
        if (letter >= 'A' && letter <= 'Z') {
            letter = static_cast<char>(letter - 'A' + 'a');
        }
    }
    return result;
}

std::string joined(const std::vector<std::string>& texts, std::string_view separator) {
    std::string result;
    for (const std::string& text : texts) {
        if (&text != &texts.front()) {
            result += separator;
        }
        result += text;
    }
    return result;
}

std::string counted(std::uint64_t count, std::string_view plural) {
    plural.remove_suffix(count == 1 ? 1 : 0);
    return std::to_string(count) + ' ' + std::string(plural);
}

std::string shown(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = printableLength(text);
        result += length == 0 ? std::string_view("?") : text.substr(0, length);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return result;
}

std::string printableText(const char* field, std::size_t size) {
    const std::string_view text(field, size);
    return shown(text.substr(0, text.find('\0')));
}

std::vector<std::string> splitArguments(std::string_view text) {
    std::vector<std::string> arguments;
    std::string current;
    bool isInside = false;  // of an argument, which may be empty: ''
    char quote = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\\' && quote != '\'' && i + 1 < text.size()) {
            current += text[++i];
            isInside = true;
        } else if (quote != 0) {
            if (c == quote) {
                quote = 0;
            } else {
                current += c;
            }
        } else if (c == '\'' || c == '"') {
            quote = c;
            isInside = true;
        } else if (kWhiteSpace.find(c) == std::string_view::npos) {
            current += c;
            isInside = true;
        } else if (isInside) {
            arguments.push_back(std::move(current));
            current.clear();
            isInside = false;
        }
    }
    if (quote != 0) {
        throw UsageError(std::string("a quotation that begins with ") + quote +
                         " does not end in: " + std::string(text));
    }
    if (isInside) {
        arguments.push_back(std::move(current));
    }
    return arguments;
}

std::size_t displayWidth(std::string_view text) {
    std::size_t width = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\x1b') {
            i = std::min(text.find('m', i), text.size());
        } else if (!isContinuation(text[i])) {
            ++width;
        }
    }
    return width;
}

std::string hexText(const std::uint8_t* bytes, std::size_t size) {
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", bytes[i]);
        text += digits;
    }
    return text;
}

bool bytesOfHex(std::string_view digits, std::span<std::uint8_t> bytes) {
    static constexpr std::string_view kDigits = "0123456789abcdef";
    const std::string text = lowerCase(digits);
    if (text.size() != 2 * bytes.size() || text.find_first_not_of(kDigits) != std::string::npos) {
        return false;
    }
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(kDigits.find(text[2 * i]) << 4 |
                                             kDigits.find(text[2 * i + 1]));
    }
    return true;
}

}  // namespace cqtool

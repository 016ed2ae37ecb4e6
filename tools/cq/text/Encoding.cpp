#include "text/Encoding.h"

#include "text/Text.h"

namespace cqtool {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = utf8Length(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

std::string fromLatin1(std::string_view text) {
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            result += c;
        } else {
            result += static_cast<char>(0xC0 | byte >> 6);
            result += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return result;
}

}  // namespace

std::string utf8Of(std::string_view content) {
    if (content.starts_with(kUtf8Mark)) {
        content.remove_prefix(kUtf8Mark.size());
    }
    return isUtf8(content) ? std::string(content) : fromLatin1(content);
}

std::string latin1Of(const std::string& text) {
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        if (byte < 0x80) {
            result += text[at];
        } else if (byte <= 0xC3 && at + 1 < text.size()) {
            const auto next = static_cast<unsigned char>(text[++at]);
            result += static_cast<char>((byte & 0x03) << 6 | (next & 0x3F));
        } else {
            return text;
        }
    }
    return utf8Of(result) == text ? result : text;
}

}  // namespace cqtool

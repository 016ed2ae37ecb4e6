#include "exchange/QtxFile.h"

#include <algorithm>
#include <charconv>

#include "Failure.h"
#include "text/Encoding.h"
#include "text/Text.h"

namespace cqtool {
namespace {

std::string capitals(std::string_view text) {
    std::string result(trimmed(text));
    for (char& letter : result) {
        if (letter >= 'a' && letter <= 'z') {
            letter = static_cast<char>(letter - 'a' + 'A');
        }
    }
    return result;
}

/// The section that a head such as "[BATCH_DATA 3]" begins; nothing for those of other kinds.
std::optional<QtxSection> sectionOf(std::string_view head, std::size_t line) {
    const std::string text = capitals(head.substr(1, head.find(']') - 1));
    const std::size_t end = std::min(text.find_first_of(" \t0123456789"), text.size());
    const std::string kind = text.substr(0, end);
    QtxSection section;
    section.line = line;
    section.isStandard = kind == "STANDARD_DATA" || kind == "STANDARD";
    if (!section.isStandard && kind != "BATCH_DATA" && kind != "BATCH") {
        return std::nullopt;
    }
    const std::string_view digits = trimmed(std::string_view(text).substr(end));
    std::uint32_t number = 0;
    const auto [last, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error == std::errc{} && last == digits.data() + digits.size()) {
        section.number = number;
    }
    return section;
}

std::string valueIn(std::string_view text) {
    text = trimmed(text);
    if (text.ends_with(',')) {
        text.remove_suffix(1);
    }
    return std::string(trimmed(text));
}

}  // namespace

std::string QtxSection::value(const std::string& key) const {
    const auto found = values.find(key);
    return found == values.end() ? std::string() : found->second;
}

std::vector<QtxSection> readQtx(std::string_view content, const std::string& source) {
    const std::string text = utf8Of(content);
    std::vector<QtxSection> sections;
    bool isInside = false;
    std::size_t number = 0;
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        const std::string_view line = trimmed(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
        ++number;
        if (line.starts_with('[')) {
            const auto section = sectionOf(line, number);
            isInside = section.has_value();
            if (section) {
                sections.push_back(*section);
            }
            continue;
        }
        if (!isInside || line.empty() || line.starts_with(';') || line.starts_with('#')) {
            continue;
        }
        const std::size_t sign = line.find('=');
        if (sign == std::string_view::npos) {
            throw Failure(source + " line " + std::to_string(number) +
                              ": KEY=value is expected, not '" + shown(line.substr(0, 40)) + "'",
                          "it may be damaged: export it again");
        }
        sections.back().values.emplace(capitals(line.substr(0, sign)),
                                       valueIn(line.substr(sign + 1)));
    }
    if (sections.empty()) {
        throw Failure(source + " is not a QTX file, or holds no measurements: no line is " +
                          "[STANDARD_DATA] or [BATCH_DATA]",
                      "name the file's format with --format");
    }
    return sections;
}

std::string qtxText(std::string_view text) {
    std::string value(trimmed(shown(text)));
    return value.ends_with(',') ? value + ',' : value;
}

}  // namespace cqtool

#include "log/LogLines.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <optional>
#include <utility>

#include "Failure.h"
#include "text/Text.h"

namespace cqtool {
namespace {

// The log's hours are those of UTC+8 and are not wrapped.
constexpr unsigned kUtcOffset = 8;

/// Texts in GBK, with their meanings.
constexpr std::pair<std::string_view, std::string_view> kChinese[] = {
    {"\xC7\xEB\xC7\xF3\xD6\xD8\xB4\xAB\xA3\xBA", "asked to send again: "},
    {"\xCA\xD5\xB5\xBD\xA3\xBA", "acknowledged: "},
    {"\xB7\xA2\xCB\xCD\xB2\xD9\xD7\xF7\xC2\xEB\xA3\xBA", "send operation: "},
    {"\xB7\xA2\xCB\xCD\xB0\xFC\xA3\xBA", "send packet: "},
};

/// Removes "[h:m:s.ms]" from the front; nothing if it is not there.
std::optional<std::string> takeTime(std::string_view& text) {
    if (!text.starts_with('[')) {
        return std::nullopt;
    }
    std::array<unsigned, 4> numbers{};
    static constexpr std::string_view kEnds = "::.]";
    std::string_view rest = text.substr(1);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const auto [end, error] =
            std::from_chars(rest.data(), rest.data() + rest.size(), numbers[i]);
        rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
        if (error != std::errc{} || !rest.starts_with(kEnds[i])) {
            return std::nullopt;
        }
        rest.remove_prefix(1);
    }
    const auto [hour, minute, second, millisecond] = numbers;
    if (hour < kUtcOffset || hour >= 24 + kUtcOffset || minute > 59 || second > 59 ||
        millisecond > 999) {
        return std::nullopt;
    }
    char time[32];
    std::snprintf(time, sizeof time, "%02u:%02u:%02u.%03u", hour - kUtcOffset, minute, second,
                  millisecond);
    text = rest;
    return time;
}

std::string readable(std::string_view message) {
    for (const auto& [chinese, english] : kChinese) {
        if (message.starts_with(chinese)) {
            const auto rest = message.substr(chinese.size());
            return std::string(english) + printableText(rest.data(), rest.size());
        }
    }
    return printableText(message.data(), message.size());
}

}  // namespace

std::vector<LogLine> readLog(std::string_view content, const std::string& source) {
    std::vector<LogLine> lines;
    for (std::size_t number = 1; !content.empty(); ++number) {
        const std::size_t end = content.find('\n');
        const bool hasEnd = end != std::string_view::npos;
        std::string_view message = trimmed(content.substr(0, end));
        content.remove_prefix(hasEnd ? end + 1 : content.size());
        auto time = takeTime(message);
        // Of a message that is too long only the time is written, without a line end.
        while (time && message.starts_with('[')) {
            auto next = takeTime(message);
            if (!next) {
                break;
            }
            lines.push_back({number, *time, {}, false});
            time = std::move(next);
        }
        if (time || !message.empty()) {
            lines.push_back({number, time.value_or(""), readable(message), !hasEnd});
        }
    }
    if (std::none_of(lines.begin(), lines.end(),
                     [](const LogLine& line) { return !line.time.empty(); })) {
        throw Failure(source + " is not a debug log: no line begins with a time such as [17:5:3.7]",
                      "give the file that --debug-log has written beside the library; its name "
                      "ends in .log");
    }
    return lines;
}

}  // namespace cqtool

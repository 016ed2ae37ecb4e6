#include "Web.h"

#include <charconv>
#include <optional>
#include <string_view>

#include "Failure.h"
#include "text/Json.h"

namespace station {
namespace {

int digitOf(char letter) {
    if (letter >= '0' && letter <= '9') {
        return letter - '0';
    }
    const char lower = static_cast<char>(letter | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::optional<std::string> decoded(std::string_view text, bool isQuery) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            plain += isQuery && text[i] == '+' ? ' ' : text[i];
            continue;
        }
        const int high = i + 2 < text.size() ? digitOf(text[i + 1]) : -1;
        const int low = i + 2 < text.size() ? digitOf(text[i + 2]) : -1;
        if (high < 0 || low < 0 || high + low == 0) {
            return std::nullopt;
        }
        plain += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return plain;
}

}  // namespace

std::optional<std::uint64_t> numberIn(const std::string& text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isNumber = error == std::errc{} && end == text.data() + text.size();
    return isNumber ? std::optional(number) : std::nullopt;
}

std::optional<std::uint64_t> Request::queriedNumber(const std::string& name) const {
    const std::string text = queried(name);
    const auto number = numberIn(text);
    if (!text.empty() && !number) {
        throw cqtool::UsageError("\"" + name + "\" is a whole number");
    }
    return number;
}

bool parseTarget(const std::string& target, Request& request) {
    const std::string_view whole = target;
    const std::size_t mark = whole.find('?');
    const auto path = decoded(whole.substr(0, mark), false);
    if (!path || !path->starts_with('/')) {
        return false;
    }
    request.path = *path;
    std::string_view rest = mark == std::string_view::npos ? "" : whole.substr(mark + 1);
    while (!rest.empty()) {
        const std::size_t end = rest.find('&');
        const std::string_view pair = rest.substr(0, end);
        const std::size_t equals = pair.find('=');
        const auto name = decoded(pair.substr(0, equals), true);
        const auto value =
            decoded(equals == std::string_view::npos ? "" : pair.substr(equals + 1), true);
        if (!name || !value) {
            return false;
        }
        request.query[*name] = *value;
        rest = end == std::string_view::npos ? "" : rest.substr(end + 1);
    }
    return true;
}

Response refusal(int status, const std::string& what, const std::string& advice) {
    cqtool::Json json{{"error", what}};
    if (!advice.empty()) {
        json["advice"] = advice;
    }
    return {status,
            "application/json",
            json.dump(-1, ' ', false, cqtool::Json::error_handler_t::replace),
            {}};
}

}  // namespace station

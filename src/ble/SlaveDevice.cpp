#include "ble/SlaveDevice.h"

#include <charconv>
#include <system_error>

namespace ovk {
namespace {

// The form is ^SR=(\d+):([\S\x20]+),([0-9a-fA-F]+),(-\d+) as a regular expression. It is matched by
// hand because std::regex recurses once a character in some implementations, and names are what
// strangers' devices send.
constexpr std::string_view kPrefix = "SR=";
constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kHexDigits = "0123456789abcdefABCDEF";
constexpr std::string_view kNotInNames = "\t\n\v\f\r";

/// Takes the leading characters that are in the set off the text.
std::string_view takeRun(std::string_view& text, std::string_view set) {
    const auto run = text.substr(0, text.find_first_not_of(set));
    text.remove_prefix(run.size());
    return run;
}

bool take(std::string_view& text, std::string_view expected) {
    if (!text.starts_with(expected)) {
        return false;
    }
    text.remove_prefix(expected.size());
    return true;
}

/// What follows the name and its comma.
struct Tail {
    std::string_view address;
    std::string_view rssi;
};

std::optional<Tail> matchTail(std::string_view text) {
    Tail tail;
    tail.address = takeRun(text, kHexDigits);
    if (tail.address.empty() || !take(text, ",")) {
        return std::nullopt;
    }
    tail.rssi = text;
    if (!take(text, "-") || takeRun(text, kDigits).empty()) {
        return std::nullopt;
    }
    tail.rssi.remove_suffix(text.size());
    return tail;
}

std::optional<SlaveDevice> toDevice(std::string_view name, const Tail& tail) {
    std::int32_t rssi = 0;
    const char* const end = tail.rssi.data() + tail.rssi.size();
    if (std::from_chars(tail.rssi.data(), end, rssi).ec != std::errc{}) {
        return std::nullopt;
    }
    return SlaveDevice{std::string(name), std::string(tail.address), rssi};
}

}  // namespace

std::optional<SlaveDevice> parseScanLine(std::string_view line) {
    if (!take(line, kPrefix) || takeRun(line, kDigits).empty() || !take(line, ":")) {
        return std::nullopt;
    }
    // The comma after the name may be any in the run of name characters: the last that fits is it.
    const auto nameRun = line.substr(0, line.find_first_of(kNotInNames));
    for (auto comma = nameRun.rfind(','); comma != nameRun.npos && comma > 0;
         comma = nameRun.rfind(',', comma - 1)) {
        if (const auto tail = matchTail(line.substr(comma + 1))) {
            return toDevice(line.substr(0, comma), *tail);
        }
    }
    return std::nullopt;
}

}  // namespace ovk

#include "text/Time.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace cqtool {

using namespace std::chrono;

namespace {

/// Takes characters off the front: '0' stands for any digit.
bool takes(std::string_view& text, std::string_view pattern) {
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const bool fits = i < text.size() && (pattern[i] == '0' ? text[i] >= '0' && text[i] <= '9'
                                                                : text[i] == pattern[i]);
        if (!fits) {
            return false;
        }
    }
    text.remove_prefix(pattern.size());
    return true;
}

int digitsAt(std::string_view text, std::size_t first, std::size_t count) {
    int value = 0;
    for (const char digit : text.substr(first, count)) {
        value = 10 * value + (digit - '0');
    }
    return value;
}

/// What follows the seconds: in minutes, how far the time is ahead of UTC.
std::optional<int> offsetOf(std::string_view zone) {
    if (zone == "Z") {
        return 0;
    }
    const int sign = zone.starts_with('-') ? -1 : 1;
    std::string_view rest = zone.substr(std::min<std::size_t>(1, zone.size()));
    if (!(zone.starts_with('+') || sign < 0) || !takes(rest, "00:00") || !rest.empty()) {
        return std::nullopt;
    }
    return sign * (60 * digitsAt(zone, 1, 2) + digitsAt(zone, 4, 2));
}

}  // namespace

std::optional<std::int64_t> secondsOf(std::string_view text) {
    std::string_view zone = text;
    if (!takes(zone, "0000-00-00T00:00:00")) {
        return std::nullopt;
    }
    if (takes(zone, ".0")) {
        while (takes(zone, "0")) {
        }
    }
    const year_month_day date{year(digitsAt(text, 0, 4)),
                              month(static_cast<unsigned>(digitsAt(text, 5, 2))),
                              day(static_cast<unsigned>(digitsAt(text, 8, 2)))};
    const int hour = digitsAt(text, 11, 2);
    const int minute = digitsAt(text, 14, 2);
    const int second = digitsAt(text, 17, 2);
    const auto offset = offsetOf(zone);
    if (!date.ok() || hour > 23 || minute > 59 || second > 59 || !offset) {
        return std::nullopt;
    }
    return sys_seconds(sys_days(date)).time_since_epoch().count() + std::int64_t{3600} * hour +
           std::int64_t{60} * (minute - *offset) + second;
}

std::string timeText(std::int64_t seconds) {
    const sys_seconds moment{std::chrono::seconds(seconds)};
    const auto day = floor<days>(moment);
    const year_month_day date(day);
    const hh_mm_ss time(moment - day);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                  static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return text;
}

std::string nowText() {
    return timeText(floor<seconds>(system_clock::now()).time_since_epoch().count());
}

}  // namespace cqtool

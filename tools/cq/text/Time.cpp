#include "text/Time.h"

#include <chrono>
#include <cstdio>

namespace cqtool {

using namespace std::chrono;

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

std::optional<std::int64_t> secondsOf(const std::string& time) {
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    int clock[3] = {};
    if (std::sscanf(time.c_str(), "%4d-%2u-%2uT%2d:%2d:%2dZ", &year, &month, &day, &clock[0],
                    &clock[1], &clock[2]) != 6) {
        return std::nullopt;
    }
    const auto date = std::chrono::year{year} / std::chrono::month{month} / std::chrono::day{day};
    const auto moment =
        sys_days(date) + hours(clock[0]) + minutes(clock[1]) + std::chrono::seconds(clock[2]);
    const std::int64_t seconds = moment.time_since_epoch().count();
    return date.ok() && timeText(seconds) == time ? std::optional(seconds) : std::nullopt;
}

std::string nowText() {
    return timeText(floor<seconds>(system_clock::now()).time_since_epoch().count());
}

}  // namespace cqtool

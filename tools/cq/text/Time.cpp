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

std::string nowText() {
    return timeText(floor<seconds>(system_clock::now()).time_since_epoch().count());
}

}  // namespace cqtool

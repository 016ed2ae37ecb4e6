#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace cqtool {

/// A time as in "2024-05-01T10:00:00Z". \param seconds since 1970, UTC.
std::string timeText(std::int64_t seconds);

/// The seconds since 1970 of a time in this form; nothing for any other text.
std::optional<std::int64_t> secondsOf(const std::string& time);

/// The time now in the same form.
std::string nowText();

}  // namespace cqtool

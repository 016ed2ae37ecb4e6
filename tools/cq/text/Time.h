#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace cqtool {

/// A time as in "2024-05-01T10:00:00Z". \param seconds since 1970, UTC.
std::string timeText(std::int64_t seconds);

/// The seconds since 1970, UTC, of such a text, also with fractions, which are dropped, or with an
/// offset from UTC, as in "2024-05-01T12:00:00.5+02:00"; nothing for any other text.
std::optional<std::int64_t> secondsOf(std::string_view text);

/// The time now in the same form.
std::string nowText();

}  // namespace cqtool

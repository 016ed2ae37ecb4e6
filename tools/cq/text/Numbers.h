#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace cqtool {

/// The number in the text, which must be nothing else but surrounding spaces; independent of the
/// locale. Nothing for any other text, including infinities and not-a-number.
/// \param decimalMark ',' accepts numbers as in "0,061"; "0.061" is then not a number.
std::optional<double> parseNumber(std::string_view text, char decimalMark = '.');

/// The number with this many decimals, "0.00" rather than "-0.00"; "nan", "inf" or "-inf" for these
/// values.
std::string fixed(double value, int decimals);

/// The number with as few digits as tell it from its neighbours: "0.1", "3600"; "nan" and so on as
/// above.
std::string digitsOf(double value);

/// The double that has the fewest digits among those that round to this float, so that 0.061f is
/// written as 0.061 and not as 0.0610000006854534.
double shortest(float value);

}  // namespace cqtool

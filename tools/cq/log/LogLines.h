#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace cqtool {

/// A message of the library's debug log.
struct LogLine {
    std::size_t number = 0;  ///< of the line in the file, from 1
    /// Time of day in UTC, "09:05:03.007"; the log itself counts hours of UTC+8, from 8 to 31.
    /// Empty: the line does not begin with a time.
    std::string time;
    /// As UTF-8 that is safe to print; the library's Chinese texts, which the log holds in the GBK
    /// code page, in English. Empty: a message that was too long for the log.
    std::string text;
    bool isCutOff = false;  ///< the file ends within it
};

/// Splits a log. Throws Failure when no line begins with a time: it is another kind of file.
/// \param source what messages call the log.
std::vector<LogLine> readLog(std::string_view content, const std::string& source);

}  // namespace cqtool

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
    /// As UTF-8 that is safe to print, with the library's Chinese texts (GBK in the log) translated
    /// into English. Empty if the message was too long for the log.
    std::string text;
    bool isCutOff = false;  ///< the file ends within it
};

/// Splits a log into lines. Throws Failure if no line begins with a time, because it is then
/// another kind of file.
/// \param source the log's name in messages.
std::vector<LogLine> readLog(std::string_view content, const std::string& source);

}  // namespace cqtool

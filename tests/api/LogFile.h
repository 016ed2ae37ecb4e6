#pragma once

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "api/DebugLog.h"
#include "api/TemporaryPath.h"

namespace ovk::test {

/// A file of its own for the debug log; the log is closed and the file removed at the end.
class LogFile {
  public:
    LogFile() = default;
    ~LogFile() { debuglog::close(); }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    std::string path() const { return path_.get().string(); }
    bool enable() const { return debuglog::open(path()); }

    std::string text() const {
        std::ifstream file(path_.get(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// The messages without their times, each with the line end that it has in the file. What
    /// stands before the first time counts as one.
    std::vector<std::string> messages() const {
        const std::string all = text();
        std::vector<std::string> found;
        std::size_t begin = 0;
        for (std::size_t at = 0; at < all.size();) {
            const std::size_t time = timeLength(std::string_view(all).substr(at));
            if (time > 0 && at > 0) {
                found.push_back(all.substr(begin, at - begin));
            }
            at += time > 0 ? time : 1;
            begin = time > 0 ? at : begin;
        }
        if (!all.empty()) {
            found.push_back(all.substr(begin));
        }
        return found;
    }

  private:
    /// The length of a time such as "[9:5:3.7]" at the beginning; 0 if there is none.
    static std::size_t timeLength(std::string_view text) {
        std::size_t length = 0;
        for (const char mark : std::string_view("[::.")) {
            if (length >= text.size() || text[length] != mark) {
                return 0;
            }
            length = std::min(text.find_first_not_of("0123456789", length + 1), text.size());
        }
        return length < text.size() && text[length] == ']' ? length + 1 : 0;
    }

    TemporaryPath path_{"cqapi-log"};
};

}  // namespace ovk::test

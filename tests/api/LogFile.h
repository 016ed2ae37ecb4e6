#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "api/DebugLog.h"
#include "api/TemporaryPath.h"
#include "peer/WaitUntil.h"

namespace ovk::test {

/// The debug log, opened in a file of its own. It is closed and the file removed at the end.
class LogFile {
  public:
    LogFile() { EXPECT_TRUE(open()); }
    ~LogFile() { debuglog::close(); }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    std::string path() const { return path_.get().string(); }
    /// Opens it anew.
    bool open() const { return debuglog::open(path()); }

    std::string text() const {
        std::ifstream file(path_.get(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// Waits until the log has this text; false when it does not come.
    bool waitFor(const std::string& part) const {
        return cqtest::waitUntil([&] { return text().find(part) != std::string::npos; });
    }

    /// The messages without their times, each with the line end that it has in the file. What
    /// stands before the first time counts as one.
    std::vector<std::string> messages() const {
        static const std::regex kTime(R"(\[\d+:\d+:\d+\.\d+\])");
        const std::string all = text();
        std::vector<std::string> found;
        std::size_t begin = 0;
        for (std::sregex_iterator time(all.begin(), all.end(), kTime), end; time != end; ++time) {
            if (time->position() > 0) {
                found.push_back(all.substr(begin, time->position() - begin));
            }
            begin = time->position() + time->length();
        }
        if (!all.empty()) {
            found.push_back(all.substr(begin));
        }
        return found;
    }

  private:
    TemporaryPath path_{"cqapi-log"};
};

}  // namespace ovk::test

#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
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
    std::vector<std::string> messages() const;

  private:
    TemporaryPath path_{"cqapi-log"};
};

}  // namespace ovk::test

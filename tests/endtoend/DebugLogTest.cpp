// The debug log that a host switches on: beside the library, readable while it grows.

#include <gmock/gmock.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "endtoend/Wired.h"

namespace cqtest {
namespace {

const std::filesystem::path kLogFile = CQAPI_TEST_LIBRARY ".log";

std::string readLog() {
    std::ifstream stream(kLogFile, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class DebugLog : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(cqEnableDebugLog()); }
    void TearDown() override {
        EXPECT_TRUE(cqDiableDebugLog());
        std::filesystem::remove(kLogFile);
    }
};

TEST_F(DebugLog, TellsTheConversationWhileItRuns) {
    Wired wired;
    std::uint32_t count = 0;
    ASSERT_EQ(cqGetTotalStandards(wired.handle, &count), CQ_NO_ERROR);

    const std::string log = readLog();
    EXPECT_NE(log.find("parsed packet type: a2\n"), std::string::npos);
    EXPECT_NE(log.find("\xB7\xA2\xCB\xCD\xB2\xD9\xD7\xF7\xC2\xEB\xA3\xBA"
                       "42\r\n"),
              std::string::npos)
        << "the operation sent, with the words before it in GBK";
    EXPECT_NE(log.find("received a packet, opt = 42, seq = 0, len = 4\n"), std::string::npos);
    const std::size_t timeEnd = log.find("]RECEIVED");
    ASSERT_NE(timeEnd, std::string::npos);
    const std::string time = log.substr(log.rfind('[', timeEnd) + 1);
    int hour = 0;
    int length = 0;  // stays 0 unless all of it is there
    std::sscanf(time.c_str(), "%d:%*u:%*u.%*u]RECEIVED%n", &hour, &length);
    EXPECT_GT(length, 0);
    EXPECT_EQ(time.find_first_of("123456789"), 0U) << "hours have no leading zero";
    EXPECT_THAT(hour, testing::AllOf(testing::Ge(8), testing::Le(31)));
}

}  // namespace
}  // namespace cqtest

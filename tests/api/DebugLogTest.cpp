#include "api/DebugLog.h"

#include <gmock/gmock.h>

#include <array>
#include <chrono>
#include <cstdarg>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <thread>
#include <utility>

#include "api/LogFile.h"

namespace ovk {
namespace {

using namespace std::chrono_literals;
using test::LogFile;
using testing::ElementsAre;

std::string format(const char* text, ...) {
    std::va_list arguments;
    va_start(arguments, text);
    std::string message = debuglog::formatMessage(text, arguments);
    va_end(arguments);
    return message;
}

TEST(DebugLogTime, IsUtcPlusEightHoursWithoutLeadingZerosOrWrap) {
    constexpr std::uint64_t kMillisecond = 10'000;
    constexpr std::uint64_t kHour = 3'600'000 * kMillisecond;
    const std::map<std::uint64_t, std::string> cases{
        {0, "[8:0:0.0]"},
        {1 * kHour + 303'007 * kMillisecond, "[9:5:3.7]"},
        {15 * kHour + 59'999 * kMillisecond + 9'999, "[23:0:59.999]"},
        {16 * kHour, "[24:0:0.0]"},
        {23 * kHour + 1'800'000 * kMillisecond, "[31:30:0.0]"},
        {24 * kHour, "[8:0:0.0]"},
        {20'000 * 24 * kHour + 2 * kHour, "[10:0:0.0]"},
    };
    for (const auto& [ticks, text] : cases) {
        EXPECT_EQ(debuglog::formatTime(ticks), text);
    }
}

TEST(DebugLogMessage, GetsALineFeedUnlessItEndsWithOneOrFillsTheBuffer) {
    const std::map<std::string, std::string> cases{{"", ""},           {"x", "x\n"},
                                                   {"x\n", "x\n"},     {"x\r\n", "x\r\n"},
                                                   {"x\n\n", "x\n\n"}, {"x\r", "x\r\n"}};
    for (const auto& [message, written] : cases) {
        EXPECT_EQ(format("%s", message.c_str()), written);
    }
    const std::map<std::size_t, std::size_t> sizes{
        {1021, 1022}, {1022, 1022}, {1023, 1023}, {1024, 0}, {5000, 0}};
    for (const auto& [message, written] : sizes) {
        EXPECT_EQ(format("%s", std::string(message, 'x').c_str()).size(), written) << message;
    }
    EXPECT_EQ(format("%02x %d %s", 0xA6, -1, "seq"), "a6 -1 seq\n");
}

TEST(DebugLogHex, SeparatesTheBytesBySpaces) {
    EXPECT_EQ(debuglog::toHex({}), "");
    EXPECT_EQ(debuglog::toHex(std::vector<std::uint8_t>{0x00}), "00");
    EXPECT_EQ(debuglog::toHex(std::vector<std::uint8_t>{0xAA, 0x05, 0xFF}), "aa 05 ff");
}

TEST(DebugLog, PutsTheTimeBeforeEachMessageAndCanBeReadWhileItIsOpen) {
    const LogFile log;
    debuglog::write("first %d", 1);
    EXPECT_THAT(log.messages(), ElementsAre("first 1\n"));
    debuglog::write("%s", std::string(1024, 'x').c_str());
    debuglog::write("%s", "");
    debuglog::write("last\r\n");
    EXPECT_THAT(log.messages(), ElementsAre("first 1\n", "", "", "last\r\n"));
}

TEST(DebugLog, IsEmptiedByEveryOpening) {
    const LogFile log;
    debuglog::write("before");
    ASSERT_TRUE(log.open());
    EXPECT_EQ(log.text(), "");
    debuglog::write("after");
    const LogFile other;
    debuglog::write("elsewhere");

    EXPECT_THAT(log.messages(), ElementsAre("after\n"));
    EXPECT_THAT(other.messages(), ElementsAre("elsewhere\n"));
}

TEST(DebugLog, WritesNothingWhenItIsOff) {
    EXPECT_FALSE(debuglog::isOpen());
    debuglog::write("lost");
    const LogFile log;
    EXPECT_TRUE(debuglog::isOpen());
    debuglog::close();
    debuglog::close();
    EXPECT_FALSE(debuglog::isOpen());
    debuglog::write("lost too");
    EXPECT_EQ(log.text(), "");
    // A system that keeps open files from being removed shows whether the file is closed.
    EXPECT_TRUE(std::filesystem::remove(log.path()));
}

constexpr int kWriters = 4;
constexpr int kLines = 250;

/// Each writer's lines are numbered and have its own letter.
std::string line(int writer, int number) {
    return std::string(200, static_cast<char>('a' + writer)) + std::to_string(number) + "\n";
}

/// Expects whole lines alone, in each writer's order; returns how many there are.
int countWholeLines(const LogFile& log) {
    std::array<int, kWriters> next{};
    int count = 0;
    for (const std::string& message : log.messages()) {
        const int writer = message.empty() ? -1 : message.front() - 'a';
        if (writer < 0 || writer >= kWriters || message.size() < line(0, 0).size()) {
            ADD_FAILURE() << "torn line of " << message.size() << " bytes";
            continue;
        }
        const int number = std::atoi(message.c_str() + 200);
        EXPECT_TRUE(message == line(writer, number)) << "line " << number << " is not whole";
        int& least = next.at(static_cast<std::size_t>(writer));
        EXPECT_GE(number, std::exchange(least, number + 1));
        ++count;
    }
    return count;
}

// In the second round the log is closed and opened anew under the writers' hands. Lines may be lost
// then, the file may hold nothing but whole ones: a line written at an old place after the file was
// emptied would leave a gap of zeros before it.
TEST(DebugLog, KeepsTheLinesOfManyWritersApartAndOutlivesOpeningAndClosing) {
    for (const int openings : {0, 50}) {
        const LogFile log;
        std::vector<std::thread> writers;
        for (int writer = 0; writer < kWriters; ++writer) {
            writers.emplace_back([writer] {
                for (int number = 0; number < kLines; ++number) {
                    debuglog::write("%s", line(writer, number).c_str());
                }
            });
        }
        for (int opening = 0; opening < openings; ++opening) {
            if (opening % 5 == 4) {
                debuglog::close();
            }
            EXPECT_TRUE(log.open());
            std::this_thread::yield();
        }
        for (std::thread& writer : writers) {
            writer.join();
        }
        debuglog::write("%s", line(0, kLines).c_str());
        const int count = countWholeLines(log);
        EXPECT_TRUE(openings == 0 ? count == kWriters * kLines + 1 : count >= 1) << count;
    }
}

}  // namespace
}  // namespace ovk

#include "api/DebugLog.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdarg>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <thread>

#include "api/LogFile.h"

namespace ovk {
namespace {

using test::LogFile;
using testing::ElementsAre;

std::string format(const char* text, ...) {
    std::va_list arguments;
    va_start(arguments, text);
    std::string message = debuglog::formatMessage(text, arguments);
    va_end(arguments);
    return message;
}

TEST(DebugLogTime, isUtcPlusEightHoursWithoutLeadingZerosOrWrap) {
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

TEST(DebugLogMessage, getsALineFeedUnlessItEndsWithOneOrFillsTheBuffer) {
    const std::map<std::string, std::string> cases{{"", ""},           {"x", "x\n"},
                                                   {"x\n", "x\n"},     {"x\r\n", "x\r\n"},
                                                   {"x\n\n", "x\n\n"}, {"x\r", "x\r\n"}};
    for (const auto& [message, written] : cases) {
        EXPECT_EQ(format("%s", message.c_str()), written);
    }
    struct Length {
        std::size_t message;
        std::size_t written;
    };
    for (const auto& [message, written] : {Length{1021, 1022}, Length{1022, 1022},
                                           Length{1023, 1023}, Length{1024, 0}, Length{5000, 0}}) {
        EXPECT_EQ(format("%s", std::string(message, 'x').c_str()).size(), written) << message;
    }
    EXPECT_EQ(format("%02x %d %s", 0xA6, -1, "seq"), "a6 -1 seq\n");
}

TEST(DebugLogHex, separatesTheBytesBySpaces) {
    EXPECT_EQ(debuglog::toHex({}), "");
    EXPECT_EQ(debuglog::toHex(std::vector<std::uint8_t>{0x00}), "00");
    EXPECT_EQ(debuglog::toHex(std::vector<std::uint8_t>{0xAA, 0x05, 0xFF}), "aa 05 ff");
}

std::uint64_t nowInMilliseconds() {
    using namespace std::chrono;
    return static_cast<std::uint64_t>(
        duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count());
}

TEST(DebugLog, tellsTheTime) {
    const LogFile log;
    ASSERT_TRUE(log.enable());
    const std::uint64_t earliest = nowInMilliseconds();
    debuglog::write("now");
    const std::uint64_t latest = nowInMilliseconds();

    std::vector<std::string> possible;
    for (std::uint64_t time = earliest; time <= latest; ++time) {
        possible.push_back(debuglog::formatTime(time * 10'000) + "now\n");
    }
    EXPECT_THAT(possible, testing::Contains(log.text()));
}

TEST(DebugLog, putsTheTimeBeforeEachMessage) {
    const LogFile log;
    ASSERT_TRUE(log.enable());
    debuglog::write("first %d", 1);
    debuglog::write("%s", std::string(1024, 'x').c_str());
    debuglog::write("%s", "");
    debuglog::write("last\r\n");
    debuglog::close();

    EXPECT_THAT(log.messages(), ElementsAre("first 1\n", "", "", "last\r\n"));
}

TEST(DebugLog, canBeReadWhileItIsOpen) {
    const LogFile log;
    ASSERT_TRUE(log.enable());
    debuglog::write("one");
    EXPECT_THAT(log.messages(), ElementsAre("one\n"));
    debuglog::write("two");
    EXPECT_THAT(log.messages(), ElementsAre("one\n", "two\n"));
}

TEST(DebugLog, isEmptiedByEveryOpening) {
    const LogFile log;
    const LogFile other;
    ASSERT_TRUE(log.enable());
    debuglog::write("before");
    ASSERT_TRUE(log.enable());
    EXPECT_EQ(log.text(), "");
    debuglog::write("after");
    ASSERT_TRUE(other.enable());
    debuglog::write("elsewhere");

    EXPECT_THAT(log.messages(), ElementsAre("after\n"));
    EXPECT_THAT(other.messages(), ElementsAre("elsewhere\n"));
}

TEST(DebugLog, writesNothingWhenItIsOff) {
    const LogFile log;
    EXPECT_FALSE(debuglog::isOpen());
    debuglog::write("lost");
    ASSERT_TRUE(log.enable());
    EXPECT_TRUE(debuglog::isOpen());
    debuglog::close();
    debuglog::close();
    EXPECT_FALSE(debuglog::isOpen());
    debuglog::write("lost too");
    EXPECT_EQ(log.text(), "");
    // A system that keeps open files from being removed shows whether the file is closed.
    EXPECT_TRUE(std::filesystem::remove(log.path()));
}

TEST(DebugLog, isOffAfterAnOpeningThatFailed) {
    const LogFile log;
    ASSERT_TRUE(log.enable());
    EXPECT_FALSE(debuglog::open(log.path() + "/no/such/folder.log"));
    EXPECT_FALSE(debuglog::isOpen());
    debuglog::write("lost");
    EXPECT_EQ(log.text(), "");
    EXPECT_TRUE(log.enable());
}

/// Runs writers beside each other, each with its own letter and numbered lines.
class DebugLogWriters : public testing::Test {
  protected:
    static constexpr int kWriters = 4;
    static constexpr int kLines = 250;

    static std::string line(int writer, int number) {
        return std::string(200, static_cast<char>('a' + writer)) + std::to_string(number) + "\n";
    }

    void start() {
        for (int writer = 0; writer < kWriters; ++writer) {
            threads_.emplace_back([writer] {
                for (int number = 0; number < kLines; ++number) {
                    debuglog::write("%s", line(writer, number).c_str());
                }
            });
        }
    }

    void join() {
        for (std::thread& thread : threads_) {
            thread.join();
        }
    }

    /// Expects whole lines alone, in each writer's order; returns how many there are.
    static int countWholeLines(const LogFile& log) {
        std::vector<int> next(kWriters, 0);
        int count = 0;
        for (const std::string& message : log.messages()) {
            const int writer = message.empty() ? -1 : message.front() - 'a';
            if (writer < 0 || writer >= kWriters || message.size() < line(0, 0).size()) {
                ADD_FAILURE() << "torn line of " << message.size() << " bytes";
                continue;
            }
            const int number = std::atoi(message.c_str() + 200);
            EXPECT_TRUE(message == line(writer, number)) << "line " << number << " is not whole";
            EXPECT_GE(number, next[static_cast<std::size_t>(writer)]);
            next[static_cast<std::size_t>(writer)] = number + 1;
            ++count;
        }
        return count;
    }

  private:
    std::vector<std::thread> threads_;
};

TEST_F(DebugLogWriters, neverMixTheirLines) {
    const LogFile log;
    ASSERT_TRUE(log.enable());
    start();
    join();
    debuglog::close();
    EXPECT_EQ(countWholeLines(log), kWriters * kLines);
}

// The log is closed and opened anew under the writers' hands. Lines may be lost, the file may hold
// nothing but whole ones: a line written at an old place after the file was emptied would leave a
// gap of zeros before it.
TEST_F(DebugLogWriters, outliveOpeningAndClosing) {
    const LogFile log;
    ASSERT_TRUE(log.enable());
    start();
    for (int round = 0; round < 50; ++round) {
        if (round % 5 == 4) {
            debuglog::close();
        }
        ASSERT_TRUE(log.enable());
        std::this_thread::yield();
    }
    join();
    debuglog::write("%s", line(0, kLines).c_str());
    debuglog::close();
    EXPECT_GE(countWholeLines(log), 1);
}

}  // namespace
}  // namespace ovk

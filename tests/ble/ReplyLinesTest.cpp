#include "ble/ReplyLines.h"

#include <gmock/gmock.h>

#include "ble/CumulativeTimeout.h"
#include "PacketBytes.h"

namespace ovk {
namespace {

using bletest::toBytes;
using testing::ElementsAre;

TEST(ReplyLines, SplitsAndJoinsWhatArrives) {
    struct Case {
        const char* name;
        std::vector<std::string> chunks;
        std::vector<std::string> lines;
        std::size_t completeFor;  // so many awaited lines, and no more
    };
    const Case cases[]{
        {"nothing", {}, {}, 0},
        {"a line", {"OK\r\n"}, {"OK"}, 1},
        {"a line without its end", {"OK"}, {"OK"}, 0},
        {"an empty line first", {"\r\nOK\r\n"}, {"", "OK"}, 2},
        {"a line in two pieces", {"+DISCON", "NECT\r\n"}, {"+DISCONNECT"}, 1},
        {"a line end in two pieces", {"OK\r", "\n"}, {"OK"}, 1},
        {"a line end of its own", {"OK", "\r\n"}, {"OK"}, 1},
        {"lines one by one", {"OK\r\n", "+INQE\r\n"}, {"OK", "+INQE"}, 2},
        {"a cut in the second line", {"OK\r\n+IN", "QE\r\nA"}, {"OK", "+INQE", "A"}, 0},
        {"other line ends are text", {"a\nb\rc\n\r", "\n"}, {"a\nb\rc\n"}, 1},
        {"a read of nothing", {"O", "", "K\r\n", "", "A\r\n"}, {"OK", "A"}, 2},
    };
    for (const Case& each : cases) {
        ReplyLines reply;
        for (const std::string& chunk : each.chunks) {
            reply.append(toBytes(chunk));
        }
        EXPECT_EQ(reply.lines(), each.lines) << each.name;
        for (const std::size_t awaited : {1U, 2U, 3U}) {
            EXPECT_EQ(reply.isComplete(awaited), awaited <= each.completeFor) << each.name;
        }
    }
}

TEST(ReplyLines, AFloodIsCutOff) {
    ReplyLines reply;
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(reply.isFull(), i >= 7);
        reply.append(toBytes(std::string(10'000, 'x')));
    }
    EXPECT_THAT(reply.lines(), ElementsAre(std::string(ReplyLines::kMaxBytes, 'x')));
}

TEST(CumulativeTimeout, TakesOffTheWholeTimeSinceTheStartEachTime) {
    using namespace std::chrono_literals;
    struct Case {
        std::vector<std::chrono::microseconds> moments;
        std::chrono::milliseconds left;
        bool isUsedUp;
    };
    const Case cases[]{
        {{}, 1000ms, false},
        {{100ms, 200ms, 300ms}, 400ms, false},
        {{999us, 1999us, 1999us}, 998ms, false},
        {{999ms}, 1ms, false},
        {{400ms, 600ms}, 0ms, true},
        {{300ms, 400ms, 500ms}, -200ms, true},
    };
    for (const Case& each : cases) {
        const CumulativeTimeout::TimePoint start{12345s};
        CumulativeTimeout time(1000ms, start);
        for (const auto moment : each.moments) {
            time.subtractElapsed(start + moment);
        }
        EXPECT_EQ(time.remaining(), each.left);
        EXPECT_EQ(time.isUsedUp(), each.isUsedUp) << each.left.count();
    }
}

}  // namespace
}  // namespace ovk

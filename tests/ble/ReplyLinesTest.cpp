#include "ble/ReplyLines.h"

#include <gmock/gmock.h>

#include "ble/CumulativeTimeout.h"
#include "PacketBytes.h"

namespace ovk {
namespace {

using bletest::toBytes;
using testing::ElementsAre;

TEST(ReplyLines, splitsAndJoinsWhatArrives) {
    struct Case {
        const char* name;
        std::vector<std::string> chunks;
        std::vector<std::string> lines;
        bool isComplete;
    };
    const Case cases[]{
        {"nothing", {}, {}, false},
        {"a line", {"OK\r\n"}, {"OK"}, true},
        {"a line without its end", {"OK"}, {"OK"}, false},
        {"an empty line first", {"\r\nOK\r\n"}, {"", "OK"}, true},
        {"an empty line alone", {"\r\n"}, {""}, true},
        {"a line in two pieces", {"+DISCON", "NECT\r\n"}, {"+DISCONNECT"}, true},
        {"a line end in two pieces", {"OK\r", "\n"}, {"OK"}, true},
        {"a line end of its own", {"OK", "\r\n"}, {"OK"}, true},
        {"lines one by one", {"OK\r\n", "+INQE\r\n"}, {"OK", "+INQE"}, true},
        {"a cut in the second line", {"OK\r\n+IN", "QE\r\nA"}, {"OK", "+INQE", "A"}, false},
        {"other line ends are text", {"a\nb\rc\n\r", "\n"}, {"a\nb\rc\n"}, true},
        {"a read of nothing", {"O", "", "K\r\n", "", "A\r\n"}, {"OK", "A"}, true},
    };
    for (const Case& each : cases) {
        ReplyLines reply;
        for (const std::string& chunk : each.chunks) {
            reply.append(toBytes(chunk));
        }
        EXPECT_EQ(reply.lines(), each.lines) << each.name;
        EXPECT_EQ(reply.isComplete(1), each.isComplete) << each.name;
    }
}

TEST(ReplyLines, isCompleteWithAsManyLinesAsAreAwaited) {
    ReplyLines reply;
    reply.append(toBytes("OK\r\n"));
    EXPECT_FALSE(reply.isComplete(2));
    reply.append(toBytes("+CONNECTED>>"));
    EXPECT_FALSE(reply.isComplete(2));
    reply.append(toBytes("C4BE84A1B2C3\r\n"));
    EXPECT_TRUE(reply.isComplete(2));
    EXPECT_THAT(reply.lines(), ElementsAre("OK", "+CONNECTED>>C4BE84A1B2C3"));
}

TEST(ReplyLines, aFloodIsCutOff) {
    ReplyLines reply;
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(reply.isFull(), i >= 7);
        reply.append(toBytes(std::string(10'000, 'x')));
    }
    EXPECT_THAT(reply.lines(), ElementsAre(std::string(ReplyLines::kMaxBytes, 'x')));
}

TEST(CumulativeTimeout, takesOffTheWholeTimeSinceTheStartEachTime) {
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

// The line's pace, with stepped time.

#include "line/DelayLine.h"

#include <gmock/gmock.h>

#include "Bench.h"

namespace vi::test {
namespace {

using std::chrono::microseconds;

/// How many bytes have come out of the line by then.
std::size_t takenBy(DelayLine& line, TimePoint now) {
    std::size_t count = 0;
    for (ByteView due = line.due(now); !due.empty(); due = line.due(now)) {
        count += due.size();
        line.consume(due.size());
    }
    return count;
}

TEST(DelayLine, CarriesBytesAtItsRateBehindEachOther) {
    DelayLine line({.latency = milliseconds(5), .perByte = microseconds(100)});
    EXPECT_EQ(line.push(Bytes(25), kStart), kStart + microseconds(7500));
    // The second push waits for the first to have left.
    EXPECT_EQ(line.push(Bytes(10), kStart), kStart + microseconds(8500));
    EXPECT_EQ(line.next(), kStart + milliseconds(6));
    EXPECT_EQ(takenBy(line, kStart + microseconds(5999)), 0U);
    EXPECT_EQ(takenBy(line, kStart + milliseconds(6)), 10U);
    EXPECT_EQ(takenBy(line, kStart + microseconds(8499)), 15U);
    EXPECT_EQ(takenBy(line, kStart + microseconds(8500)), 10U);
    // An idle line begins anew.
    EXPECT_EQ(line.push(Bytes(1), kStart + milliseconds(20)), kStart + microseconds(25'100));
}

TEST(DelayLine, ByteByByteNeverGivesTwo) {
    DelayLine line({.perByte = microseconds(200), .isByteByByte = true});
    line.push(hex("01 02"), kStart);
    EXPECT_EQ(hexText(line.due(kStart + milliseconds(9))), "01");

    DelayLine quick({});
    EXPECT_EQ(quick.push(hex("01 02"), kStart, true), kStart + 2 * DelayLine::kBytePause);
    EXPECT_EQ(hexText(quick.due(kStart + milliseconds(9))), "01");
}

TEST(DelayLine, ClearForgetsWhatIsOnItsWay) {
    DelayLine line({.perByte = milliseconds(100)});
    line.push(Bytes(50), kStart);
    line.consume(0);
    line.clear();
    EXPECT_FALSE(line.next());
    EXPECT_EQ(line.push(Bytes(1), kStart), kStart + milliseconds(100));
}

}  // namespace
}  // namespace vi::test

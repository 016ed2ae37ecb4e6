#include <gtest/gtest.h>

#include "CQCommProtocol/rxcontext.h"
#include "protocol/WireBytes.h"

namespace ovk {
namespace {

using test::Bytes;
using test::dataPacket;
using test::hex;
using test::hexText;
using test::kAbort;
using test::kLast;
using test::kMore;
using Verdict = RxContext::Verdict;

class RxContextTest : public testing::Test {
  protected:
    /// The event's data is the packet's, which is kept until the next call.
    RxContext::Event take(Bytes bytes) {
        packet_ = std::move(bytes);
        return context.take(DataPacketView(packet_));
    }

    RxContext context;

  private:
    Bytes packet_;
};

TEST_F(RxContextTest, countsThePlacesOfThePiecesWithTheOperationCode) {
    auto piece = take(dataPacket(0, kMore, hex("24 01 02 03")));
    EXPECT_EQ(piece.verdict, Verdict::data);
    EXPECT_EQ(piece.operation, 0x24);
    EXPECT_EQ(piece.offset, 0U);
    EXPECT_EQ(hexText(piece.data), "01 02 03");
    EXPECT_FALSE(piece.isLast);

    piece = take(dataPacket(1, kMore, hex("04 05")));
    EXPECT_EQ(piece.operation, 0x24);
    EXPECT_EQ(piece.offset, 4U);
    EXPECT_EQ(hexText(piece.data), "04 05");
    EXPECT_FALSE(context.hasSeenLast());

    piece = take(dataPacket(2, kLast, {}));
    EXPECT_EQ(piece.offset, 6U);
    EXPECT_TRUE(piece.data.empty());
    EXPECT_TRUE(piece.isLast);
    EXPECT_TRUE(context.hasSeenLast());
    EXPECT_EQ(context.nextSequence(), 3U);
}

TEST_F(RxContextTest, takesEveryFlagButTwoForTheLastPacket) {
    for (unsigned flag = 0; flag < 0xFF; ++flag) {
        context.clear();
        const auto piece = take(dataPacket(0, static_cast<std::uint8_t>(flag), hex("21")));
        EXPECT_EQ(piece.verdict, Verdict::data);
        EXPECT_EQ(piece.isLast, flag != kMore) << flag;
    }
}

TEST_F(RxContextTest, takesAFirstPacketWithoutPayloadForOperationZero) {
    const auto piece = take(hex("AA 55 A6 07 00 00 00 00 02 00 FF FF"));
    EXPECT_EQ(piece.verdict, Verdict::data);
    EXPECT_EQ(piece.operation, 0);
    EXPECT_TRUE(piece.data.empty());
}

// Each of these is refused in the middle of a transfer and changes nothing: the packet that should
// have come is taken afterwards.
TEST_F(RxContextTest, isNotMovedByWhatItRefuses) {
    struct Case {
        const char* packet;
        Verdict verdict;
    };
    for (const Case& item : {
             Case{"AA 55 A6 07 01 00 00 00 00 00", Verdict::invalidLength},
             Case{"AA 55 A6 07 01 00 00 00 01 00 05", Verdict::invalidLength},
             // Wrong in two ways: the length tells first, then the number.
             Case{"AA 55 A6 07 09 00 00 00 01 00 05", Verdict::invalidLength},
             Case{"AA 55 A6 07 09 00 00 00 02 00 00 00", Verdict::invalidSequence},
             Case{"AA 55 A6 07 02 00 00 00 02 00 FF FF", Verdict::invalidSequence},
             Case{"AA 55 A6 07 00 00 00 00 02 00 FF FF", Verdict::invalidSequence},
             Case{"AA 55 A6 07 01 00 01 00 02 00 FF FF", Verdict::invalidSequence},
             Case{"AA 55 A6 07 01 00 00 00 02 00 FF FE", Verdict::crcError},
             // The CRC of "123456789" with its bytes the wrong way round.
             Case{"AA 55 A6 07 01 00 00 00 0B 00 31 32 33 34 35 36 37 38 39 29 B1",
                  Verdict::crcError},
         }) {
        context.clear();
        take(dataPacket(0, kMore, hex("24 AB")));
        EXPECT_EQ(take(hex(item.packet)).verdict, item.verdict) << item.packet;
        EXPECT_EQ(context.nextSequence(), 1U);

        const auto piece = take(dataPacket(1, kLast, hex("CD")));
        EXPECT_EQ(piece.verdict, Verdict::data) << item.packet;
        EXPECT_EQ(piece.operation, 0x24);
        EXPECT_EQ(piece.offset, 2U);
    }
}

TEST_F(RxContextTest, passesOnTheInstrumentsErrorWhateverElseIsWrong) {
    const auto early = take(hex("AA 55 A6 07 05 00 00 FF 00 00"));
    EXPECT_EQ(early.verdict, Verdict::aborted);
    EXPECT_EQ(early.operation, 0);
    EXPECT_EQ(early.error, 5U);

    take(dataPacket(0, kMore, hex("24 01 02")));
    take(dataPacket(1, kMore, hex("03")));
    for (const auto* packet : {"AA 55 A6 07 56 34 12 FF 00 00", "AA 55 A6 07 56 34 12 FF 01 00 00",
                               "AA 55 A6 07 56 34 12 FF 03 00 AA 00 00"}) {
        const auto event = take(hex(packet));
        EXPECT_EQ(event.verdict, Verdict::aborted);
        EXPECT_EQ(event.operation, 0x24);
        EXPECT_EQ(event.offset, 3U);
        EXPECT_TRUE(event.data.empty());
        EXPECT_EQ(event.error, 0x123456U);
        EXPECT_TRUE(event.isLast);
    }
}

TEST_F(RxContextTest, beginsAnewWhenCleared) {
    take(dataPacket(0, kMore, hex("24 01 02")));
    take(dataPacket(1, kLast, hex("03")));
    context.clear();
    EXPECT_FALSE(context.hasSeenLast());
    const auto piece = take(dataPacket(0, kMore, hex("23 09")));
    EXPECT_EQ(piece.verdict, Verdict::data);
    EXPECT_EQ(piece.operation, 0x23);
    EXPECT_EQ(piece.offset, 0U);
}

}  // namespace
}  // namespace ovk

#include "CQCommProtocol/DataParser.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "CQCommProtocol/WireBytes.h"

namespace ovk {
namespace {

using namespace std::chrono_literals;
using test::Bytes;
using test::hex;
using test::hexText;
using testing::ElementsAre;

class DataParserTest : public testing::Test {
  protected:
    /// Parses all the bytes as its owner does; returns the packets.
    std::vector<std::string> parse(std::span<const std::uint8_t> rest) {
        std::vector<std::string> packets;
        while (!rest.empty()) {
            rest = rest.subspan(parser.parse(rest, now));
            const Bytes put = parser.takeDiscarded();
            discarded.insert(discarded.end(), put.begin(), put.end());
            if (parser.isComplete()) {
                packets.push_back(hexText(parser.packet()));
                parser.clear();
            }
        }
        return packets;
    }

    std::string takeDiscarded() { return hexText(std::exchange(discarded, {})); }

    DataParser parser{5000ms};
    DataParser::TimePoint now{};
    Bytes discarded;
};

TEST_F(DataParserTest, FindsEveryPacketHoweverTheBytesAreCut) {
    std::vector<std::string> packets{
        "AA 55 A1 00 00 00 02 00 02",
        "AA 55 A2 07 00 40 00 11 22 33 44 00 00",
        "AA 55 A3 07",
        "AA 55 A4 07",
        "AA 55 A5 07",
        "AA 55 A6 07 02 01 00 FF 00 00",
        "AA 55 A6 07 00 00 00 00 01 00 99",
        "AA 55 A6 07 00 00 00 00 02 00 FF FF",
        "AA 55 A6 07 00 00 00 00 0B 00 31 32 33 34 35 36 37 38 39 B1 29",
        hexText(test::dataPacket(0, test::kMore, test::pattern(30))),
        hexText(test::dataPacket(1, test::kLast, test::pattern(300))),
        "AA 55 A7 07 01 00 00 00",
        "AA 55 A8 07",
        "AA 55 A9 07",
    };
    Bytes stream = hex("13 AA 37");
    for (const std::string& packet : packets) {
        stream = test::joined({stream, hex(packet)});
    }
    stream.push_back(0x55);
    for (std::size_t size = 1; size <= stream.size(); ++size) {
        std::vector<std::string> found;
        for (std::size_t at = 0; at < stream.size(); at += size) {
            const auto count = std::min(size, stream.size() - at);
            const auto some = parse(std::span(stream).subspan(at, count));
            found.insert(found.end(), some.begin(), some.end());
        }
        EXPECT_EQ(found, packets) << "pieces of " << size;
        EXPECT_EQ(takeDiscarded(), "13 AA 37 55") << "pieces of " << size;
    }
}

TEST_F(DataParserTest, PutsAsideWhatIsNoPacket) {
    struct Case {
        const char* bytes;
        const char* discarded;
        std::vector<std::string> packets;
    };
    for (const Case& item : {
             Case{"00 55 AB", "00 55 AB", {}},
             // The host's own direction.
             Case{"55 AA A6 07 00 00 00 00 02 00 FF FF", "55 AA A6 07 00 00 00 00 02 00 FF FF", {}},
             Case{"01 02 AA 55 A8 07 03", "01 02 03", {"AA 55 A8 07"}},
             Case{"AA 00 AA 55 A8 07", "AA 00", {"AA 55 A8 07"}},
             Case{"AA 55 A0 AA 55 AA AA 55 A8 07", "AA 55 A0 AA 55 AA", {"AA 55 A8 07"}},
             // A mark that is no mark takes the next byte with it, whatever that is.
             Case{"AA AA 55 A8 07 AA 55 A9 08", "AA AA 55 A8 07", {"AA 55 A9 08"}},
             // Inside a packet marks mean nothing.
             Case{"AA 55 A7 AA 55 A8 AA 55", "", {"AA 55 A7 AA 55 A8 AA 55"}},
         }) {
        EXPECT_EQ(parse(hex(item.bytes)), item.packets) << item.bytes;
        EXPECT_EQ(takeDiscarded(), item.discarded) << item.bytes;
    }
}

TEST_F(DataParserTest, GivesUpAPacketThatHasWaitedMoreThanFiveSeconds) {
    EXPECT_THAT(parse(hex("AA 55 A7 07 01")), ElementsAre());
    now += 5s + 1ns;
    EXPECT_THAT(parse(hex("00 AA 55 A8 07")), ElementsAre("AA 55 A8 07"));
    EXPECT_EQ(takeDiscarded(), "AA 55 A7 07 01 00");
}

TEST_F(DataParserTest, CountsTheWaitFromTheLastBytes) {
    for (const auto* piece : {"AA", "55", "A7", "07", "01", "00 00"}) {
        EXPECT_THAT(parse(hex(piece)), ElementsAre());
        now += 5s;
    }
    EXPECT_THAT(parse(hex("00")), ElementsAre("AA 55 A7 07 01 00 00 00"));
    EXPECT_EQ(takeDiscarded(), "");
}

}  // namespace
}  // namespace ovk

// The instrument's side of a session, byte by byte and with stepped time.

#include <gmock/gmock.h>

#include "Bench.h"

namespace vi::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

const std::string kStatusRequest = "55 AA A6 01 00 00 00 00 03 00 22 D0 E5";
const std::string kMeasureStandard = "55 AA A6 01 00 00 00 00 03 00 23 F1 F5";
const std::string kCalibrateWhite = "55 AA A6 01 00 00 00 00 04 00 25 01 3D F4";

Bench::Set calibrated() {
    Bench::Set set;
    set.instrument.isCalibrated = true;
    set.instrument.noise = 0;
    return set;
}

/// A killed host says no goodbye: what it still had coming must not reach the next one.
TEST(Session, ANewOneDropsWhatTheOldOneHadComing) {
    Bench bench(calibrated());
    bench.connected();
    bench.protocol.press(Kind::standard, bench.now);
    bench.after(milliseconds(300));
    bench.host(kMeasureStandard);
    EXPECT_THAT(bench.host(kShakeHands), StartsWith("AA 55 A2 02"));
    bench.host("55 AA A3 02");
    EXPECT_EQ(bench.after(milliseconds(5000)), "");
}

TEST(Session, ANewOneStopsWhatIsOnItsWay) {
    Bench::Set set;
    set.toHost.latency = milliseconds(50);
    Bench bench(set);
    bench.connected().host(kCountStandards);
    EXPECT_EQ(bench.host(kShakeHands), "");
    EXPECT_EQ(bench.after(milliseconds(50)), "AA 55 A2 02 00 40 00 01 1F 00 00 00 00");
}

TEST(Command, IsRefusedWithANumber) {
    struct Case {
        const char* name;
        const char* packet;
        std::string answer;
    };
    // A request is acknowledged and then aborted; anything else is aborted in place of its last
    // acknowledgement.
    const Case cases[] = {
        {"measuring uncalibrated", kMeasureStandard.c_str(),
         kTaken1 + " AA 55 A6 01 01 00 00 FF 00 00"},
        {"calibrating on what is no tile", "55 AA A6 01 00 00 00 00 04 00 25 02 5E C4",
         "AA 55 A7 01 04 00 00 FF"},
        {"parameter without its number", "55 AA A6 01 00 00 00 00 03 00 25 37 95",
         "AA 55 A7 01 04 00 00 FF"},
        {"payload where none belongs", "55 AA A6 01 00 00 00 00 07 00 2B 00 00 00 00 47 F5",
         kTaken1 + " AA 55 A6 01 04 00 00 FF 00 00"},
        {"unknown", "55 AA A6 01 00 00 00 00 03 00 99 60 F3", "AA 55 A7 01 05 00 00 FF"},
        {"no operation code", "55 AA A6 01 00 00 00 00 02 00 FF FF", "AA 55 A7 01 05 00 00 FF"},
        {"deleting without the delete bit", "55 AA A6 01 00 00 00 00 07 00 35 00 00 00 00 B5 3E",
         "AA 55 A7 01 04 00 00 FF"},
        {"deleting what is not there", "55 AA A6 01 00 00 00 00 07 00 35 03 00 00 80 E1 34",
         "AA 55 A7 01 03 00 00 FF"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Bench bench;
        EXPECT_EQ(bench.connected().host(c.packet), c.answer);
        EXPECT_EQ(bench.host(kCountStandards), kCounted);
    }
}

/// A packet of so many zeros between its header and the CRC of that.
std::string longPacket(const std::string& header, std::size_t zeros, const std::string& crc) {
    return header + hexText(Bytes(zeros)) + crc;
}

TEST(Reception, AnswersWhatIsNotAsItShouldBe) {
    const std::string first = "55 AA A6 01 00 00 00 40 03 00 2C 1E 04";
    const std::string second = "55 AA A6 01 01 00 00 40 03 00 01 D1 F1";
    const std::string taken2 = "AA 55 A7 01 02 00 00 00";
    struct Case {
        const char* name;
        std::string packets;
        std::string answer;
    };
    const Case cases[] = {
        {"damaged: asks for it again", "55 AA A6 01 00 00 00 00 03 00 2A D8 65" + kCountStandards,
         "AA 55 A7 01 00 00 00 80 " + kCounted},
        {"repeated: acknowledges it and does not take it twice", first + second + second,
         kTaken1 + " " + taken2 + " " + taken2},
        {"from a host that has given up waiting: begins anew", first + kCountStandards,
         kTaken1 + " " + kCounted},
        {"more than any command needs", longPacket("55 AA A6 01 00 00 00 40 03 04", 1025, "3C B8"),
         "AA 55 A7 01 02 00 00 FF"},
        {"longer than agreed", longPacket("55 AA A6 01 00 00 00 00 F7 07", 2039, ""),
         "AA 55 A7 01 07 00 00 FF"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Bench::Set set;
        set.protocol.engine.maxPacket = 2048;
        set.instrument.capacity = 0;
        Bench bench(set);
        EXPECT_EQ(bench.connected().host(c.packets), c.answer);
    }
}

TEST(Transmission, RepeatsAPacketThatNobodyAcknowledgesAndThenGivesUp) {
    Bench bench;
    bench.connected();
    bench.host(kCountStandards);
    EXPECT_EQ(bench.after(milliseconds(999)), "");
    EXPECT_EQ(bench.after(milliseconds(1)), kNoStandards);
    EXPECT_EQ(bench.after(milliseconds(1000)), kNoStandards);
    EXPECT_EQ(bench.after(milliseconds(1000)), kNoStandards);
    EXPECT_EQ(bench.after(milliseconds(1000)), "AA 55 A6 01 08 00 00 FF 00 00");
    EXPECT_EQ(bench.after(milliseconds(1000)), "");
}

/// The button's result becomes ready while a host's command is being answered: the answer must come
/// first and whole.
TEST(Button, WaitsForTheHostsBusiness) {
    Bench bench(calibrated());
    bench.connected();
    bench.protocol.press(Kind::standard, bench.now);
    EXPECT_THAT(bench.host(kCountStandards),
                StartsWith(kTaken1 + " AA 55 A6 01 00 00 00 00 07 00 2A"));
    EXPECT_EQ(bench.after(milliseconds(300)), "");
    EXPECT_THAT(bench.host(kAcknowledge1), StartsWith("AA 55 A6 01 00 00 00 40 36 00 23"));
}

}  // namespace
}  // namespace vi::test

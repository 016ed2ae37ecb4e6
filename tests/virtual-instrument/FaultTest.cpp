// Each fault, seen from the host's end: what is wrong, and what must be right again afterwards.

#include <gmock/gmock.h>

#include "Bench.h"

namespace vi::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

Bench::Set with(std::initializer_list<const char*> faults) {
    Bench::Set set;
    for (const char* fault : faults) {
        EXPECT_EQ(wired::addFault(set.protocol.faults, fault), "");
    }
    return set;
}

TEST(Fault, SpoilsThePacketItNamesAndNoOther) {
    struct Case {
        const char* fault;
        std::string first;
        std::string second;
    };
    const Case cases[] = {
        {"bad-crc:2", kCounted, kTaken1 + " AA 55 A6 01 00 00 00 00 07 00 2A 00 00 00 00 16 A0"},
        {"lost-ack:2", kCounted, kNoStandards},
        {"duplicate:4", kCounted, kTaken1 + " " + kTaken1 + " " + kNoStandards},
        {"wrong-sequence:2", kCounted,
         kTaken1 + " AA 55 A6 01 05 00 00 00 07 00 2A 00 00 00 00 16 5F " + kNoStandards},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fault);
        Bench bench(with({c.fault}));
        bench.connected();
        EXPECT_EQ(bench.host(kCountStandards), c.first);
        bench.host(kAcknowledge1);
        EXPECT_EQ(bench.host(kCountStandards), c.second);
    }
}

TEST(Fault, RetransmitAsksForEachPacketAgain) {
    Bench bench(with({"retransmit:2"}));
    bench.connected();
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(bench.host(kCountStandards), "AA 55 A7 01 00 00 00 80");
        EXPECT_EQ(bench.host(kCountStandards), "AA 55 A7 01 00 00 00 80");
        EXPECT_EQ(bench.host(kCountStandards), kCounted);
        bench.host(kAcknowledge1);
    }
}

TEST(Fault, AbortsTransfersInEitherDirection) {
    Bench sending(with({"abort-send:0x0304"}));
    EXPECT_EQ(sending.connected().host(kCountStandards), "AA 55 A7 01 04 03 00 FF");
    Bench replying(with({"abort-reply"}));
    EXPECT_EQ(replying.connected().host(kCountStandards),
              kTaken1 + " AA 55 A6 01 02 01 00 FF 00 00");
}

/// A host's parser that meets the first half of a start mark and then a packet would lose the
/// packet.
TEST(Fault, GarbageNeverMakesOrSpoilsAStartMark) {
    Bench bench(with({"garbage:40"}));
    for (int round = 0; round < 500; ++round) {
        const Bytes bytes = hex(bench.host(kShakeHands));
        ASSERT_EQ(bytes.size(), 40U + 13U);
        const std::string garbage = hexText(ByteView(bytes).first(40));
        ASSERT_THAT(garbage, testing::Not(HasSubstr("AA 55")));
        ASSERT_NE(bytes[39], 0xAA);
        ASSERT_THAT(hexText(ByteView(bytes).subspan(40)), StartsWith("AA 55 A2"));
    }
}

TEST(FaultPlan, TellsWhatIsWrongWithATextAndKeepsThePlan) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "there is no fault ''"},
        {"badcrc", "choose from bad-crc, lost-ack"},
        {"bad-crc:", "not ''"},
        {"bad-crc:0", "from 1 to"},
        {"bad-crc:-1", "not '-1'"},
        {"bad-crc:1x", "not '1x'"},
        {"abort-reply:0x10000", "from 0 to 65535"},
        {"one-byte:1", "takes no number"},
    };
    for (const auto& [text, problem] : cases) {
        wired::FaultPlan plan;
        EXPECT_THAT(wired::addFault(plan, text), HasSubstr(problem)) << text;
        EXPECT_TRUE(plan.badCrc.empty() && !plan.oneByte && !plan.abortReply) << text;
    }
}

}  // namespace
}  // namespace vi::test

// Finding the host's packets in what comes over the line.

#include "wired/Scanner.h"

#include <gmock/gmock.h>

#include "Bench.h"

namespace vi::wired {
namespace {

using test::hex;
using test::hexText;
using test::kStart;
using test::milliseconds;
using testing::ElementsAre;

/// Feeds the pieces 10 ms apart and then waits.
struct Scan {
    explicit Scan(std::initializer_list<const char*> pieces) {
        TimePoint now = kStart;
        for (const char* piece : pieces) {
            scanner.receive(hex(piece), now);
            now += milliseconds(10);
        }
        before = packets;
        scanner.elapse(now + Scanner::kPatience);
    }

    std::vector<std::string> packets;
    std::vector<std::string> before;  // without the wait
    std::string stray;
    Scanner scanner{[this](ByteView packet) { packets.push_back(hexText(packet)); },
                    [this](ByteView bytes) { stray += hexText(bytes) + ' '; }};
};

TEST(Scanner, CutsPacketsWhereverTheReadsEnd) {
    const Scan scan{"55", "AA A3 01 55 AA A7", "01 01 00 00 00 55 AA A6 01 00 00 00 00 03",
                    "00 2A D8 64 55 AA A4 01"};
    EXPECT_THAT(scan.before, ElementsAre("55 AA A3 01", "55 AA A7 01 01 00 00 00",
                                         "55 AA A6 01 00 00 00 00 03 00 2A D8 64", "55 AA A4 01"));
    EXPECT_EQ(scan.stray, "");
}

TEST(Scanner, PassesOverWhatIsNoPacket) {
    const Scan scan{"00 AA 55 55 AA 77 55 55 AA A3 09"};
    EXPECT_THAT(scan.before, ElementsAre("55 AA A3 09"));
    EXPECT_EQ(scan.stray, "00 AA 55 55 AA 77 55 ");
}

/// A host is killed within a packet; the next one's shake-hands request then looks like the rest of
/// that packet. It must be found all the same.
TEST(Scanner, FindsAShakeHandsRequestBehindHalfAPacket) {
    const Scan scan{"55 AA A6 01 00 00 00 00 40 00 01 02", test::kShakeHands.c_str()};
    EXPECT_THAT(scan.before, testing::IsEmpty());
    EXPECT_THAT(scan.packets, ElementsAre(test::kShakeHands));
    EXPECT_FALSE(scan.scanner.deadline());
}

TEST(Scanner, KeepsASlowPacketWhileItsBytesComeInTime) {
    std::vector<std::string> packets;
    Scanner scanner([&](ByteView packet) { packets.push_back(hexText(packet)); }, [](ByteView) {});
    TimePoint now = kStart;
    for (const char* byte : {"55", "AA", "A3", "01"}) {
        scanner.receive(hex(byte), now);
        now = *scanner.deadline() - std::chrono::nanoseconds(1);
        if (packets.empty()) {
            scanner.elapse(now);
        } else {
            break;
        }
    }
    EXPECT_THAT(packets, ElementsAre("55 AA A3 01"));
}

}  // namespace
}  // namespace vi::wired

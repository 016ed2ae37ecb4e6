#include "ble/PacketAssembler.h"

#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>

#include "PacketBytes.h"

namespace ovk {
namespace {

using namespace std::chrono_literals;
using bletest::packetBytes;
using bletest::pattern;
using bletest::toBytes;
using CQBleProtocol::CmdPacket;

TEST(CmdPacket, RefusesBytesThatAreNotOnePacket) {
    EXPECT_THROW(CmdPacket(1, 1, toBytes(pattern(65536))), std::length_error);
    EXPECT_THROW(CmdPacket{toBytes({1, 2, 3})}, std::invalid_argument);
    EXPECT_THROW(CmdPacket{toBytes({1, 1, 2, 0, '?'})}, std::invalid_argument);
    EXPECT_THROW(CmdPacket{toBytes({1, 1, 0, 0, '?'})}, std::invalid_argument);
}

class PacketAssembling : public testing::Test {
  protected:
    void pause(std::chrono::nanoseconds time) { now_ += time; }

    /// Feeds the bytes and returns those of the packet that they complete, if any.
    std::string feed(const std::string& bytes) {
        const auto packet = assembler_.feed(toBytes(bytes), now_);
        if (packet == nullptr) {
            return {};
        }
        return {packet->bytes().begin(), packet->bytes().end()};
    }

    const std::string record_ = packetBytes(1, 4, pattern(256));
    const std::string empty_ = packetBytes(1, 1);

  private:
    PacketAssembler assembler_;
    PacketAssembler::TimePoint now_{1000s};
};

TEST_F(PacketAssembling, PiecesWithinTheSilenceBelongTogether) {
    for (std::size_t i = 0; i + 1 < record_.size(); ++i) {
        ASSERT_EQ(feed(record_.substr(i, 1)), "") << i;
        pause(PacketAssembler::kSilence - 1ns);
    }
    EXPECT_EQ(feed(record_.substr(record_.size() - 1)), record_);
    EXPECT_EQ(feed(empty_), empty_);
}

TEST_F(PacketAssembling, ASilenceDropsWhatCameBefore) {
    EXPECT_EQ(feed(record_.substr(0, 100)), "");
    pause(PacketAssembler::kSilence);
    EXPECT_EQ(feed(record_.substr(100)), "");
    pause(PacketAssembler::kSilence);
    EXPECT_EQ(feed(record_), record_);
}

TEST_F(PacketAssembling, MoreThanOnePacketIsNoneUntilASilence) {
    EXPECT_EQ(feed(empty_ + empty_), "");
    pause(1s);
    EXPECT_EQ(feed(empty_), "");
    pause(1s);
    EXPECT_EQ(feed(record_), "");
    pause(PacketAssembler::kSilence);
    EXPECT_EQ(feed(record_), record_);
}

TEST_F(PacketAssembling, TheLengthIsThatOfTheFirstFourBytes) {
    // The second packet lies whole within what the first one's length covers.
    const std::string covering = packetBytes(1, 4, "12" + record_);
    EXPECT_EQ(feed(covering.substr(0, 6)), "");
    EXPECT_EQ(feed(record_), covering);
}

/// Pages that this process has in memory; 0 where the system does not tell, or a sanitizer keeps what
/// is freed.
long residentPages() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return 0;
#else
    long size = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident;
#endif
}

TEST_F(PacketAssembling, AFloodPassesWithoutATrace) {
    constexpr std::size_t kBlock = 4096;  // a page, or less
    constexpr long kBlocks = 10'000;
    const long before = residentPages();
    for (long i = 0; i < kBlocks; ++i) {
        ASSERT_EQ(feed(std::string(kBlock, '\x01')), "");
    }
    EXPECT_LT(residentPages() - before, kBlocks / 4);
    pause(PacketAssembler::kSilence);
    const std::string longest = packetBytes(2, 13, pattern(65535));
    EXPECT_EQ(feed(longest.substr(0, 40'000)), "");
    EXPECT_EQ(feed(longest.substr(40'000)), longest);
}

}  // namespace
}  // namespace ovk

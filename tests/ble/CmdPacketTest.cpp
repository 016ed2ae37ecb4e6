#include "ble/CmdPacket.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "PacketBytes.h"

namespace ovk {
namespace {

using bletest::packetBytes;
using bletest::pattern;
using bletest::toBytes;
using CQBleProtocol::CmdPacket;

TEST(CmdPacket, isLaidOutAsTypeCommandLengthAndPayload) {
    EXPECT_TRUE(std::ranges::equal(CmdPacket(1, 1).bytes(), toBytes({1, 1, 0, 0})));
    for (const std::size_t size : {1U, 255U, 256U, 65535U}) {
        const std::string payload = pattern(size);
        const auto wire = toBytes(packetBytes(2, 13, payload));
        EXPECT_TRUE(std::ranges::equal(CmdPacket(2, 13, toBytes(payload)).bytes(), wire)) << size;
        const CmdPacket received{wire};
        EXPECT_EQ(received.type(), 2);
        EXPECT_EQ(received.cmd(), 13);
        EXPECT_EQ(received.payloadSize(), size);
        EXPECT_TRUE(received.payloadIs(payload));
    }
}

TEST(CmdPacket, refusesBytesThatAreNotOnePacket) {
    EXPECT_THROW(CmdPacket(1, 1, toBytes(pattern(65536))), std::length_error);
    EXPECT_THROW(CmdPacket{toBytes({1, 2, 3})}, std::invalid_argument);
    EXPECT_THROW(CmdPacket{toBytes({1, 1, 2, 0, '?'})}, std::invalid_argument);
    EXPECT_THROW(CmdPacket{toBytes({1, 1, 0, 0, '?'})}, std::invalid_argument);
}

}  // namespace
}  // namespace ovk

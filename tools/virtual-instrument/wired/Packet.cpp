#include "wired/Packet.h"

#include <algorithm>
#include <array>

namespace vi::wired {
namespace {

constexpr std::uint8_t kShakeHandsRequest[] = {0x55, 0xAA, 0xA1, 0x00, 0x00,
                                               0x00, 0x02, 0x00, 0x02};

// The instrument's values in its acknowledgement; hosts keep both and use neither.
constexpr std::uint8_t kValueA = 1;
constexpr std::uint32_t kValueB = 31;

constexpr std::array<std::uint16_t, 256> makeCrcTable() {
    std::array<std::uint16_t, 256> table{};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        std::uint32_t value = i << 8;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value & 0x8000) != 0 ? value << 1 ^ 0x1021 : value << 1;
        }
        table[i] = static_cast<std::uint16_t>(value);
    }
    return table;
}

Bytes begin(Type type, std::uint8_t session) {
    return {kToHost[0], kToHost[1], type, session};
}

void putControl(Bytes& packet, Flag flag, std::uint32_t number) {
    put32(packet, std::uint32_t{flag} << 24 | (number & 0xFFFFFF));
}

}  // namespace

std::uint16_t crc16(ByteView bytes) {
    static constexpr auto kTable = makeCrcTable();
    std::uint32_t crc = 0xFFFF;
    for (const std::uint8_t byte : bytes) {
        crc = (crc << 8 ^ kTable[(crc >> 8 ^ byte) & 0xFF]) & 0xFFFF;
    }
    return static_cast<std::uint16_t>(crc);
}

std::optional<std::size_t> packetLength(ByteView packet) {
    switch (packet[2]) {
        case kShakeHands:
            return 9;
        case kShakeHandsAcknowledgement:
            return 13;
        case kShakeHandsConfirmation:
        case kDisconnect:
        case kDisconnectAcknowledgement:
        case kKeepAlive:
        case kKeepAliveAnswer:
            return 4;
        case kAcknowledgement:
            return 8;
        case kData:
            return kDataHeaderSize + (packet.size() >= kDataHeaderSize ? get16(packet, 8) : 0);
        default:
            return std::nullopt;
    }
}

bool isShakeHandsRequest(ByteView packet) {
    return std::ranges::equal(packet, kShakeHandsRequest);
}

Bytes shakeHandsAcknowledgement(std::uint8_t session, std::uint16_t maxPacket) {
    Bytes packet = begin(kShakeHandsAcknowledgement, session);
    packet.push_back(0);
    put16(packet, maxPacket);
    put32(packet, kValueB << 8 | kValueA);
    put16(packet, 0);
    return packet;
}

Bytes shortPacket(Type type, std::uint8_t session) {
    return begin(type, session);
}

Bytes dataPacket(std::uint8_t session, Flag flag, std::uint32_t sequence, ByteView payload) {
    Bytes packet = begin(kData, session);
    packet.reserve(kDataOverhead + payload.size());
    putControl(packet, flag, sequence);
    put16(packet, static_cast<std::uint32_t>(payload.size() + kCrcSize));
    packet.insert(packet.end(), payload.begin(), payload.end());
    put16(packet, crc16(payload));
    return packet;
}

Bytes abortDataPacket(std::uint8_t session, std::uint16_t reason) {
    Bytes packet = begin(kData, session);
    putControl(packet, kAbort, reason);
    put16(packet, 0);
    return packet;
}

Bytes acknowledgement(std::uint8_t session, Flag flag, std::uint32_t number) {
    Bytes packet = begin(kAcknowledgement, session);
    putControl(packet, flag, number);
    return packet;
}

}  // namespace vi::wired

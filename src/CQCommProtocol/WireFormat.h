#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// \file
/// The numbers of the wired packet format and its short packets. docs/wired-protocol.md has the
/// format whole.

namespace ovk::wire {

/// Every packet begins with two marks; the directions use them in opposite order, so that neither
/// side takes its own echo for a packet.
inline constexpr std::uint8_t kToInstrumentFirst = 0x55;
inline constexpr std::uint8_t kToInstrumentSecond = 0xAA;
inline constexpr std::uint8_t kToHostFirst = 0xAA;
inline constexpr std::uint8_t kToHostSecond = 0x55;

enum PacketType : std::uint8_t {
    kShakeHandsRequest = 0xA1,
    kShakeHandsAcknowledgement = 0xA2,
    kShakeHandsConfirmation = 0xA3,
    kDisconnectRequest = 0xA4,
    kDisconnectAcknowledgement = 0xA5,
    kData = 0xA6,
    kAcknowledgement = 0xA7,
    kKeepAliveRequest = 0xA8,
    kKeepAliveAnswer = 0xA9,
};

// Places within a packet.
inline constexpr std::size_t kTypeOffset = 2;
inline constexpr std::size_t kSessionOffset = 3;
inline constexpr std::size_t kControlOffset = 4;
inline constexpr std::size_t kLengthOffset = 8;
inline constexpr std::size_t kPayloadOffset = 10;
inline constexpr std::size_t kMaxPacketOffset = 5;  // in a shake-hands acknowledgement
inline constexpr std::size_t kValuesOffset = 7;     // likewise: value A, then 24 bits of value B

// Lengths.
inline constexpr std::size_t kShortPacketSize = 4;
inline constexpr std::size_t kAcknowledgementSize = 8;
inline constexpr std::size_t kShakeHandsRequestSize = 9;
inline constexpr std::size_t kShakeHandsAcknowledgementSize = 13;
inline constexpr std::size_t kDataHeaderSize = 10;
inline constexpr std::size_t kCrcSize = 2;
/// What a data packet adds to its payload.
inline constexpr std::size_t kDataOverhead = kDataHeaderSize + kCrcSize;

// A control word: bits 0..23 a sequence number (or a 16-bit error code), bits 24..31 a flag.
inline constexpr std::uint32_t kSequenceMask = 0x00FFFFFF;
inline constexpr std::uint32_t kErrorMask = 0x0000FFFF;
inline constexpr unsigned kFlagShift = 24;
inline constexpr std::uint8_t kFlagLast = 0x00;
inline constexpr std::uint8_t kFlagMore = 0x40;
inline constexpr std::uint8_t kFlagAcknowledge = 0x00;
inline constexpr std::uint8_t kFlagRetransmit = 0x80;
inline constexpr std::uint8_t kFlagAbort = 0xFF;

/// Session identifiers that an instrument may assign; 0 means that there is no session.
inline constexpr std::uint8_t kMinSession = 1;
inline constexpr std::uint8_t kMaxSession = 254;

/// The largest packet that the host sends until the instrument has named another size.
inline constexpr std::uint32_t kDefaultMaxPacket = 64;

inline constexpr std::array<std::uint8_t, kShakeHandsRequestSize> kShakeHandsRequestPacket{
    kToInstrumentFirst, kToInstrumentSecond, kShakeHandsRequest, 0, 0, 0, 2, 0, 2};

constexpr std::uint32_t controlWord(std::uint8_t flag, std::uint32_t sequenceOrError) {
    return (static_cast<std::uint32_t>(flag) << kFlagShift) | (sequenceOrError & kSequenceMask);
}

/// A packet of type and session alone.
std::array<std::uint8_t, kShortPacketSize> shortPacket(PacketType type, std::uint8_t session);

std::array<std::uint8_t, kAcknowledgementSize> acknowledgementPacket(std::uint8_t session,
                                                                     std::uint32_t controlWord);

/// A data packet that ends a transfer with an error in place of data.
std::array<std::uint8_t, kDataHeaderSize> abortPacket(std::uint8_t session, std::uint16_t error);

}  // namespace ovk::wire

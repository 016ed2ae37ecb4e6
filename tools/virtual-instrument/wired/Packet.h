#pragma once

#include <cstdint>
#include <optional>

#include "Bytes.h"

/// The packets of the wired protocol, seen from the instrument.
namespace vi::wired {

enum Type : std::uint8_t {
    kShakeHands = 0xA1,
    kShakeHandsAcknowledgement = 0xA2,
    kShakeHandsConfirmation = 0xA3,
    kDisconnect = 0xA4,
    kDisconnectAcknowledgement = 0xA5,
    kData = 0xA6,
    kAcknowledgement = 0xA7,
    kKeepAlive = 0xA8,
    kKeepAliveAnswer = 0xA9,
};

/// The top byte of a control word.
enum Flag : std::uint8_t {
    kLast = 0x00,         ///< data: the transfer ends here
    kMore = 0x40,         ///< data: more packets follow
    kAcknowledge = 0x00,  ///< acknowledgement: received, the number is the next one expected
    kSendAgain = 0x80,    ///< acknowledgement: the number is the packet to send again
    kAbort = 0xFF,        ///< both: the transfer is aborted, the number is the reason
};

inline constexpr std::size_t kMarkSize = 2;
inline constexpr std::size_t kDataHeaderSize = 10;
inline constexpr std::size_t kCrcSize = 2;
inline constexpr std::size_t kDataOverhead = kDataHeaderSize + kCrcSize;
inline constexpr std::size_t kMinMaxPacket = kDataOverhead + 1;

inline constexpr ByteView::value_type kFromHost[kMarkSize] = {0x55, 0xAA};
inline constexpr ByteView::value_type kToHost[kMarkSize] = {0xAA, 0x55};

/// CRC-16/CCITT-FALSE: polynomial 0x1021, start 0xFFFF, not reflected, no final XOR.
std::uint16_t crc16(ByteView bytes);

/// The length of a packet, judged by its beginning; nothing for an unknown type. A data packet's
/// length is that of its header until the header is complete.
/// \param packet at least 3 bytes.
std::optional<std::size_t> packetLength(ByteView packet);

/// Reads the fields of one whole packet; does not own the bytes.
class PacketView {
  public:
    explicit PacketView(ByteView bytes) : bytes_(bytes) {}

    ByteView bytes() const { return bytes_; }
    std::uint8_t type() const { return bytes_[2]; }
    std::uint8_t session() const { return bytes_[3]; }

    // Of data packets and acknowledgements.
    std::uint8_t flag() const { return bytes_[7]; }
    std::uint32_t number() const { return get32(bytes_, 4) & 0xFFFFFF; }

    // Of data packets.
    bool hasPayload() const { return bytes_.size() >= kDataOverhead; }
    ByteView payload() const {
        return bytes_.subspan(kDataHeaderSize, bytes_.size() - kDataOverhead);
    }
    bool isIntact() const { return get16(bytes_, bytes_.size() - kCrcSize) == crc16(payload()); }

  private:
    ByteView bytes_;
};

/// The only form of a shake-hands request.
bool isShakeHandsRequest(ByteView packet);

// Packets to the host.
Bytes shakeHandsAcknowledgement(std::uint8_t session, std::uint16_t maxPacket);
/// Disconnect, its acknowledgement, keep-alive.
Bytes shortPacket(Type type, std::uint8_t session);
Bytes dataPacket(std::uint8_t session, Flag flag, std::uint32_t sequence, ByteView payload);
Bytes abortDataPacket(std::uint8_t session, std::uint16_t reason);
Bytes acknowledgement(std::uint8_t session, Flag flag, std::uint32_t number);

}  // namespace vi::wired

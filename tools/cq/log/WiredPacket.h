#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace cqtool {

/// A packet between host and wired instrument, as docs/wired-protocol.md describes it.
struct WiredPacket {
    std::vector<std::uint8_t> bytes;

    std::uint8_t type() const { return bytes[2]; }
    std::uint8_t session() const { return bytes[3]; }
    /// Of data packets and acknowledgements, like the next two.
    std::uint32_t sequence() const;
    std::uint8_t flag() const { return bytes[7]; }
    /// Of a data packet.
    std::span<const std::uint8_t> payload() const;
    bool hasValidCrc() const;
};

inline constexpr std::uint8_t kShakeHandsAcknowledgementType = 0xA2;
inline constexpr std::uint8_t kDataType = 0xA6;
inline constexpr std::uint8_t kAcknowledgementType = 0xA7;
inline constexpr std::uint8_t kMoreFlag = 0x40;
inline constexpr std::uint8_t kAgainFlag = 0x80;
inline constexpr std::uint8_t kAbortFlag = 0xFF;

/// "data"; empty for an unknown type.
std::string wiredPacketName(std::uint8_t type);

/// "device information"; empty for an unknown operation.
std::string wiredOperationName(std::uint8_t operation);

/// "hello", "measure"; empty for an unknown command.
std::string wirelessCommandName(int type, int command);

/// Finds packets in the bytes from or to an instrument.
class WiredPacketFinder {
  public:
    enum class Direction { toHost, toInstrument };

    explicit WiredPacketFinder(Direction direction) : direction_(direction) {}

    void append(std::span<const std::uint8_t> bytes);

    /// The next whole packet; nothing until more bytes have arrived.
    std::optional<WiredPacket> take();

    /// Forgets a packet that has begun: bytes are missing.
    void reset() { buffer_.clear(); }

    /// How many bytes belonged to no packet since the last call.
    std::size_t takeSkipped();

  private:
    /// The length of the packet at the front; nothing until it is known; 0 if none begins there.
    std::optional<std::size_t> lengthAtFront() const;

    Direction direction_;
    std::vector<std::uint8_t> buffer_;
    std::size_t skipped_ = 0;
};

}  // namespace cqtool

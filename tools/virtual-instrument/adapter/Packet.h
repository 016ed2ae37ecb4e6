#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Bytes.h"

/// The packets of the wireless protocol, seen from the instrument.
namespace vi::adapter {

/// The first byte of a packet.
enum Type : std::uint8_t { kRecords = 1, kSettings = 2 };

inline constexpr std::size_t kHeaderSize = 4;

Bytes makePacket(std::uint8_t type, std::uint8_t cmd, ByteView payload);

/// Reads the fields of one whole packet; does not own the bytes.
class PacketView {
  public:
    explicit PacketView(ByteView bytes) : bytes_(bytes) {}

    ByteView bytes() const { return bytes_; }
    std::uint8_t type() const { return bytes_[0]; }
    std::uint8_t cmd() const { return bytes_[1]; }
    ByteView payload() const { return bytes_.subspan(kHeaderSize); }

  private:
    ByteView bytes_;
};

/// One packet in words for the log: its type and cmd, the name of the command, and the size of its
/// payload.
/// \param role "request", "reply" or "notification".
std::string describe(std::string_view role, ByteView packet);

/// Splits what the host sends into packets by their lengths. Owns no clock.
class PacketCutter {
  public:
    /// How long an incomplete packet may wait for its next bytes.
    static constexpr std::chrono::milliseconds kPatience{300};

    using Handler = std::function<void(ByteView)>;

    /// \param packet receives each whole packet; must not call back into this object.
    /// \param stray receives incomplete packets.
    PacketCutter(Handler packet, Handler stray)
        : packet_(std::move(packet)), stray_(std::move(stray)) {}

    void receive(std::uint8_t byte, TimePoint now);

    /// To be called when the deadline has come.
    void elapse(TimePoint now);
    std::optional<TimePoint> deadline() const;

    void clear() { buffer_.clear(); }

  private:
    Handler packet_;
    Handler stray_;
    Bytes buffer_;
    TimePoint lastByte_{};
};

}  // namespace vi::adapter

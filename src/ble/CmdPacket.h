#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ovk::CQBleProtocol {

/// One packet of the wireless instrument protocol, kept as the bytes that go over the air:
///
///     0     type     1 records and measurements, 2 settings and queries
///     1     cmd      what is asked, or told
///     2..3  data_len how many payload bytes follow, least significant byte first
///     4..   data     the payload
///
/// There is no mark and no checksum. Immutable, so any number of threads may read it.
class CmdPacket {
  public:
    static constexpr std::size_t kHeaderSize = 4;
    static constexpr std::size_t kMaxPayload = 0xFFFF;

    /// \throw std::length_error the payload is longer than kMaxPayload.
    CmdPacket(std::uint8_t type, std::uint8_t cmd, std::span<const std::uint8_t> payload = {});
    /// Takes the bytes of one whole packet.
    /// \throw std::invalid_argument they are more or fewer than their header says.
    explicit CmdPacket(std::vector<std::uint8_t> bytes);
    CmdPacket(const CmdPacket&) = delete;
    CmdPacket& operator=(const CmdPacket&) = delete;

    /// The whole size of a packet that begins with these bytes; at least kHeaderSize are needed.
    static std::size_t announcedSize(std::span<const std::uint8_t> bytes);

    std::uint8_t type() const { return bytes_[0]; }
    std::uint8_t cmd() const { return bytes_[1]; }
    /// data_len.
    std::size_t payloadSize() const { return bytes_.size() - kHeaderSize; }
    std::span<const std::uint8_t> payload() const { return std::span(bytes_).subspan(kHeaderSize); }
    std::span<const std::uint8_t> bytes() const { return bytes_; }

    /// True if the payload is these characters and nothing else.
    bool payloadIs(std::string_view text) const;
    /// The payload as text, up to its first NUL if it has one.
    std::string text() const;

  private:
    std::vector<std::uint8_t> bytes_;
};

/// Throws if the instrument has refused: CommunicationException with CQ_EXECUTE_COMMAND_FAILED for
/// a payload of "FAIL", with CQ_INVALID_PARAMETER for "INVAL".
void throwIfRefused(const CmdPacket& reply);

}  // namespace ovk::CQBleProtocol

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "api/LittleEndian.h"
#include "CQCommProtocol/WireFormat.h"

namespace ovk {

/// A data packet to the instrument, built once and kept for sending again. Immutable.
class DataPacket {
  public:
    /// \param payload at most 65533 bytes.
    DataPacket(std::uint8_t session, std::uint32_t sequence, bool isLast,
               std::span<const std::uint8_t> payload);

    std::span<const std::uint8_t> bytes() const { return bytes_; }
    std::uint32_t sequence() const {
        return loadLittleEndian<std::uint32_t>(bytes_.data() + wire::kControlOffset) &
               wire::kSequenceMask;
    }

  private:
    std::vector<std::uint8_t> bytes_;
};

/// Reads the fields of a complete data packet from the instrument. Does not own the bytes.
class DataPacketView {
  public:
    explicit DataPacketView(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    std::uint8_t flag() const { return static_cast<std::uint8_t>(control() >> wire::kFlagShift); }
    std::uint32_t sequence() const { return control() & wire::kSequenceMask; }
    /// The length field: payload and CRC.
    std::uint16_t length() const {
        return loadLittleEndian<std::uint16_t>(bytes_.data() + wire::kLengthOffset);
    }
    /// Only when length() covers the CRC.
    std::span<const std::uint8_t> payload() const {
        return bytes_.subspan(wire::kPayloadOffset, length() - wire::kCrcSize);
    }
    /// Only when length() covers the CRC.
    bool hasValidCrc() const;

  private:
    std::uint32_t control() const {
        return loadLittleEndian<std::uint32_t>(bytes_.data() + wire::kControlOffset);
    }

    std::span<const std::uint8_t> bytes_;
};

}  // namespace ovk

#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "ble/CmdPacket.h"

namespace ovk {

/// Puts command packets together from the pieces in which they arrive. Owns no port and no clock.
///
/// The bytes gathered since the last silence are one packet or none: a packet is complete when
/// there are exactly as many as its length says. If there are more (two packets in one read,
/// noise), it is not known where a packet begins, so nothing is cut out of them; the next silence
/// throws them away.
class PacketAssembler {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// What arrives after a pause this long is the beginning of a packet.
    static constexpr std::chrono::nanoseconds kSilence{1'001'000'000};

    /// Takes bytes that have arrived at this time. Returns the packet that they complete, else
    /// null.
    std::shared_ptr<const CQBleProtocol::CmdPacket> feed(std::span<const std::uint8_t> bytes,
                                                         TimePoint now);

  private:
    bool hasHeader() const { return gathered_.size() >= CQBleProtocol::CmdPacket::kHeaderSize; }
    bool isOvergrown() const;

    std::vector<std::uint8_t> gathered_;
    TimePoint lastArrival_{};
};

}  // namespace ovk

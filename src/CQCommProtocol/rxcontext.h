#pragma once

#include <cstdint>
#include <span>

#include "CQCommProtocol/DataPacket.h"

namespace ovk {

/// The bookkeeping of one transfer from the instrument: which packet is next, and what a
/// received packet means. Has no clock, no port and no lock.
class RxContext {
  public:
    enum class Verdict {
        data,             ///< the next piece of the transfer
        aborted,          ///< the instrument has given the transfer up
        invalidLength,    ///< too short for a checksum: to be dropped
        invalidSequence,  ///< not the packet that is next: to be dropped
        crcError          ///< damaged: to be asked for again
    };

    /// What a packet means. Only `verdict` counts unless it is `data` or `aborted`.
    struct Event {
        Verdict verdict = Verdict::data;
        std::uint8_t operation = 0;
        /// Where the packet's payload begins in the transfer, the operation code counted.
        std::uint32_t offset = 0;
        /// The payload without the operation code; a part of the packet.
        std::span<const std::uint8_t> data;
        /// The instrument's error number, when it has aborted.
        std::uint32_t error = 0;
        bool isLast = false;
    };

    /// Judges a packet, and takes it into account if it is `data`. Nothing else changes the
    /// context.
    Event take(const DataPacketView& packet);

    std::uint8_t operation() const { return operation_; }
    std::uint32_t nextSequence() const { return nextSequence_; }
    bool hasSeenLast() const { return hasSeenLast_; }
    void clear() { *this = RxContext(); }

  private:
    Verdict judge(const DataPacketView& packet) const;
    /// Takes the next packet of the transfer into account.
    void advance(const DataPacketView& packet, Event& event);

    std::uint8_t operation_ = 0;
    bool hasSeenLast_ = false;
    std::uint32_t packetOffset_ = 0;
    std::uint32_t receivedBytes_ = 0;
    std::uint32_t nextSequence_ = 0;
};

}  // namespace ovk

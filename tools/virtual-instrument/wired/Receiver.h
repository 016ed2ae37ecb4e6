#pragma once

#include <cstdint>

#include "Bytes.h"
#include "wired/Packet.h"

namespace vi::wired {

/// Assembles a host's transfer from its data packets.
class Receiver {
  public:
    enum class Verdict {
        partial,     ///< accepted, more packets follow
        complete,    ///< accepted, the transfer is complete
        repeated,    ///< has been accepted before
        damaged,     ///< to be sent again
        outOfOrder,  ///< no answer is due
        tooLong,     ///< the transfer exceeds what any command needs
        aborted,     ///< the host has aborted the transfer
    };

    /// \param maxTransfer the longest transfer that is accepted, in bytes.
    explicit Receiver(std::size_t maxTransfer) : maxTransfer_(maxTransfer) {}

    Verdict take(const PacketView& packet);

    /// The sequence number that an acknowledgement carries.
    std::uint32_t nextSequence() const { return nextSequence_; }
    bool isReceiving() const { return nextSequence_ != 0; }
    /// The transfer so far, with its operation code.
    const Bytes& transfer() const { return transfer_; }

    void clear();

  private:
    std::size_t maxTransfer_;
    std::uint32_t nextSequence_ = 0;
    Bytes transfer_;
    Bytes lastPacket_;
};

}  // namespace vi::wired

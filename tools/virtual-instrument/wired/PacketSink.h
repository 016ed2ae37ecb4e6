#pragma once

#include "Bytes.h"

namespace vi::wired {

/// Takes the packets that the instrument sends.
class PacketSink {
  public:
    struct Sent {
        TimePoint arrives;          ///< when the host has the whole packet
        bool endsTransfer = false;  ///< the transfer that the packet belongs to was cut off
    };

    virtual ~PacketSink() = default;

    virtual Sent send(ByteView packet, TimePoint now) = 0;

    /// Throws away what has not left yet.
    virtual void discardPending() = 0;
};

}  // namespace vi::wired

#pragma once

#include "Bytes.h"

namespace vi::wired {

/// Takes the packets that the instrument sends.
class PacketSink {
  public:
    struct Sent {
        TimePoint arrives;          ///< when the host has received the whole packet
        bool endsTransfer = false;  ///< the packet's transfer was cut off
    };

    virtual ~PacketSink() = default;

    virtual Sent send(ByteView packet, TimePoint now) = 0;

    /// Discards what has not left yet.
    virtual void discardPending() = 0;
};

}  // namespace vi::wired

#include "wired/Receiver.h"

#include <algorithm>

namespace vi::wired {

Receiver::Verdict Receiver::take(const PacketView& packet) {
    if (packet.flag() == kAbort) {
        clear();
        return Verdict::aborted;
    }
    if (!packet.hasPayload()) {
        return Verdict::outOfOrder;
    }
    if (!packet.isIntact()) {
        return Verdict::damaged;
    }
    if (isReceiving() && std::ranges::equal(packet.bytes(), lastPacket_)) {
        return Verdict::repeated;
    }
    if (packet.number() == 0) {
        // A host that has timed out begins again without notice.
        clear();
    }
    if (packet.number() != nextSequence_) {
        return Verdict::outOfOrder;
    }
    const ByteView payload = packet.payload();
    if (payload.size() > maxTransfer_ - transfer_.size()) {
        clear();
        return Verdict::tooLong;
    }
    transfer_.insert(transfer_.end(), payload.begin(), payload.end());
    lastPacket_.assign(packet.bytes().begin(), packet.bytes().end());
    ++nextSequence_;
    return packet.flag() == kMore ? Verdict::partial : Verdict::complete;
}

void Receiver::clear() {
    nextSequence_ = 0;
    transfer_.clear();
    lastPacket_.clear();
}

}  // namespace vi::wired

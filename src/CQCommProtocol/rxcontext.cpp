#include "CQCommProtocol/rxcontext.h"

#include <cassert>

namespace ovk {

RxContext::Event RxContext::take(const DataPacketView& packet) {
    Event event;
    event.verdict = judge(packet);
    if (event.verdict == Verdict::data) {
        advance(packet, event);
    } else if (event.verdict == Verdict::aborted) {
        event.operation = operation_;
        event.offset = packetOffset_;
        event.error = packet.sequence();
        event.isLast = true;
    }
    return event;
}

RxContext::Verdict RxContext::judge(const DataPacketView& packet) const {
    if (packet.flag() == wire::kFlagAbort) {
        return Verdict::aborted;
    }
    if (packet.length() < wire::kCrcSize) {
        return Verdict::invalidLength;
    }
    if (packet.sequence() != nextSequence_) {
        return Verdict::invalidSequence;
    }
    return packet.hasValidCrc() ? Verdict::data : Verdict::crcError;
}

void RxContext::advance(const DataPacketView& packet, Event& event) {
    event.data = packet.payload();
    const auto size = static_cast<std::uint32_t>(event.data.size());
    if (packet.sequence() == 0) {
        clear();
        assert(packet.sequence() == nextSequence_ && "packet->sequence() == nextSequence_");
        // A transfer is named by its first byte; one without is operation 0.
        if (!event.data.empty()) {
            operation_ = event.data.front();
            event.data = event.data.subspan(1);
        }
    }
    packetOffset_ = receivedBytes_;
    receivedBytes_ += size;
    hasSeenLast_ = packet.flag() != wire::kFlagMore;
    nextSequence_ = (packet.sequence() + 1) & wire::kSequenceMask;

    event.operation = operation_;
    event.offset = packetOffset_;
    event.isLast = hasSeenLast_;
}

}  // namespace ovk

#include "CQCommProtocol/rxcontext.h"

#include <cassert>

namespace ovk {

RxContext::Event RxContext::take(const DataPacketView& packet) {
    if (packet.flag() == wire::kFlagAbort) {
        return {.verdict = Verdict::aborted,
                .operation = operation_,
                .offset = packetOffset_,
                .data = {},
                .error = packet.sequence(),
                .isLast = true};
    }
    if (packet.length() < wire::kCrcSize) {
        return {.verdict = Verdict::invalidLength};
    }
    if (packet.sequence() != nextSequence_) {
        return {.verdict = Verdict::invalidSequence};
    }
    if (!packet.hasValidCrc()) {
        return {.verdict = Verdict::crcError};
    }

    auto data = packet.payload();
    const auto size = static_cast<std::uint32_t>(data.size());
    if (packet.sequence() == 0) {
        clear();
        assert(packet.sequence() == nextSequence_ && "packet->sequence() == nextSequence_");
        // A transfer is named by its first byte; one without is operation 0.
        if (!data.empty()) {
            operation_ = data.front();
            data = data.subspan(1);
        }
    }
    packetOffset_ = receivedBytes_;
    receivedBytes_ += size;
    hasSeenLast_ = packet.flag() != wire::kFlagMore;
    nextSequence_ = (packet.sequence() + 1) & wire::kSequenceMask;
    return {.verdict = Verdict::data,
            .operation = operation_,
            .offset = packetOffset_,
            .data = data,
            .error = 0,
            .isLast = hasSeenLast_};
}

}  // namespace ovk

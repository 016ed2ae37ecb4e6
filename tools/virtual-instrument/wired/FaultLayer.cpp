#include "wired/FaultLayer.h"

#include <utility>

namespace vi::wired {
namespace {

/// The offset of a wrong sequence number, never so large that it wraps to 0.
constexpr std::uint32_t kSequenceOffset = 5;

}  // namespace

FaultLayer::FaultLayer(FaultPlan plan, std::uint64_t seed, DelayLine& out, Tap tap)
    : plan_(std::move(plan)), random_(seed), out_(out), tap_(std::move(tap)) {
    settle();
}

FaultLayer::Verdict FaultLayer::admit(ByteView packet, TimePoint now) {
    if (isSilent_) {
        return Verdict::swallow;
    }
    ++fromHost_;
    if (plan_.disconnect == fromHost_) {
        return Verdict::disconnect;
    }
    if (plan_.unplug == fromHost_) {
        return Verdict::unplug;
    }
    const PacketView view(packet);
    if (view.type() == kData && view.flag() != kAbort) {
        if (plan_.abortSend) {
            answer(view, kAbort, *plan_.abortSend, now);
            return Verdict::swallow;
        }
        if (asked_ < plan_.retransmit) {
            ++asked_;
            answer(view, kSendAgain, view.number(), now);
            return Verdict::swallow;
        }
        asked_ = 0;
    }
    return Verdict::pass;
}

void FaultLayer::answer(const PacketView& packet, Flag flag, std::uint32_t number, TimePoint now) {
    send(acknowledgement(packet.session(), flag, number), now);
}

PacketSink::Sent FaultLayer::send(ByteView packet, TimePoint now) {
    if (isSilent_) {
        return {.arrives = now};
    }
    const PacketView view(packet);
    if (view.type() == kData && view.flag() != kAbort) {
        return sendData(view, now);
    }
    const bool isAcknowledgement = view.type() == kAcknowledgement && view.flag() == kAcknowledge;
    if (isAcknowledgement && plan_.lostAck.contains(++acknowledgementsDue_)) {
        return {.arrives = now};
    }
    return {.arrives = emit(packet, now)};
}

PacketSink::Sent FaultLayer::sendData(const PacketView& packet, TimePoint now) {
    const bool isFirst = packet.number() == 0;
    const bool isOnly = isFirst && packet.flag() != kMore;
    if (plan_.abortReply && (isOnly || !isFirst)) {
        return {.arrives = emit(abortDataPacket(packet.session(), *plan_.abortReply), now),
                .endsTransfer = true};
    }
    ++dataSent_;
    if (plan_.wrongSequence.contains(dataSent_)) {
        sendWrongSequence(packet, now);
    }
    if (plan_.badCrc.contains(dataSent_)) {
        Bytes damaged(packet.bytes().begin(), packet.bytes().end());
        damaged.back() ^= 0xFF;
        return {.arrives = emit(damaged, now)};
    }
    return {.arrives = emit(packet.bytes(), now)};
}

void FaultLayer::sendWrongSequence(const PacketView& packet, TimePoint now) {
    const auto flag = static_cast<Flag>(packet.flag());
    emit(dataPacket(packet.session(), flag, packet.number() + kSequenceOffset, packet.payload()),
         now);
}

TimePoint FaultLayer::emit(ByteView packet, TimePoint now) {
    ++sent_;
    const int copies = plan_.duplicate.contains(sent_) ? 2 : 1;
    TimePoint arrives = now;
    for (int copy = 0; copy < copies; ++copy) {
        emitGarbage(now);
        tap_(packet, true, now);
        arrives = out_.push(packet, now);
    }
    return arrives;
}

void FaultLayer::emitGarbage(TimePoint now) {
    if (plan_.garbage == 0) {
        return;
    }
    Bytes bytes(plan_.garbage);
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(random_());
    }
    // No start mark inside, and no half of one at the end that the packet would complete.
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const bool isLast = i + 1 == bytes.size();
        if (bytes[i] == kToHost[0] && (isLast || bytes[i + 1] == kToHost[1])) {
            bytes[i] = 0;
        }
    }
    tap_(bytes, false, now);
    out_.push(bytes, now);
}

}  // namespace vi::wired

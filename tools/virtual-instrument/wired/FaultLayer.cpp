#include "wired/FaultLayer.h"

#include <utility>

namespace vi::wired {
namespace {

/// The offset of a wrong sequence number, never so large that it wraps to 0.
constexpr std::uint32_t kSequenceOffset = 5;

/// Whether a transfer says how many standards or samples are stored.
bool isCount(ByteView payload) {
    constexpr std::uint8_t kCountStandards = 0x2A;
    constexpr std::uint8_t kCountSamples = 0x2B;
    return !payload.empty() &&
           (payload.front() == kCountStandards || payload.front() == kCountSamples);
}

}  // namespace

FaultLayer::FaultLayer(FaultPlan plan, std::uint64_t seed, DelayLine& out, Tap tap, Strike strike)
    : plan_(std::move(plan)),
      random_(seed),
      out_(out),
      tap_(std::move(tap)),
      strike_(std::move(strike)) {
    settle();
}

void FaultLayer::restart(const FaultPlan& plan) {
    plan_ = plan;
    fromHost_ = sent_ = dataSent_ = acknowledgementsDue_ = asked_ = 0;
    isSilent_ = false;
    out_.setByteByByte(plan_.oneByte);
    settle();
}

FaultLayer::Verdict FaultLayer::admit(ByteView packet, TimePoint now) {
    if (isSilent_) {
        strike_("silence");
        return Verdict::swallow;
    }
    ++fromHost_;
    if (plan_.disconnect == fromHost_) {
        strike_("disconnect");
        return Verdict::disconnect;
    }
    if (plan_.unplug == fromHost_) {
        strike_("unplug");
        return Verdict::unplug;
    }
    const PacketView view(packet);
    if (view.type() == kData && view.flag() != kAbort) {
        if (plan_.abortSend) {
            strike_("abort-send");
            answer(view, kAbort, *plan_.abortSend, now);
            return Verdict::swallow;
        }
        if (asked_ < plan_.retransmit) {
            ++asked_;
            strike_("retransmit");
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
        strike_("lost-ack");
        return {.arrives = now};
    }
    return {.arrives = emit(packet, now)};
}

PacketSink::Sent FaultLayer::sendData(const PacketView& packet, TimePoint now) {
    const bool isFirst = packet.number() == 0;
    const bool isOnly = isFirst && packet.flag() != kMore;
    if (plan_.abortReply && (isOnly || !isFirst)) {
        strike_("abort-reply");
        return {.arrives = emit(abortDataPacket(packet.session(), *plan_.abortReply), now),
                .endsTransfer = true};
    }
    ++dataSent_;
    if (plan_.claim && isFirst && isCount(packet.payload())) {
        Bytes claimed{packet.payload().front()};
        put32(claimed, *plan_.claim);
        const auto flag = static_cast<Flag>(packet.flag());
        return {.arrives = emit(dataPacket(packet.session(), flag, 0, claimed), now)};
    }
    if (plan_.wrongSequence.contains(dataSent_)) {
        strike_("wrong-sequence");
        sendWrongSequence(packet, now);
    }
    if (plan_.badCrc.contains(dataSent_)) {
        strike_("bad-crc");
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
    if (copies > 1) {
        strike_("duplicate");
    }
    if (plan_.oneByte) {
        strike_("one-byte");
    }
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
    strike_("garbage");
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

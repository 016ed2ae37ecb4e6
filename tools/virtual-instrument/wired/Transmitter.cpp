#include "wired/Transmitter.h"

#include <algorithm>

#include "instrument/Instrument.h"

namespace vi::wired {

void Transmitter::start(std::uint8_t session, Bytes transfer, TimePoint now) {
    session_ = session;
    transfer_ = std::move(transfer);
    offset_ = 0;
    sequence_ = 0;
    sendNext(now);
}

void Transmitter::sendNext(TimePoint now) {
    const ByteView rest = ByteView(transfer_).subspan(offset_);
    const ByteView chunk = rest.first(std::min(rest.size(), chunkSize_));
    offset_ += chunk.size();
    packet_ = dataPacket(session_, chunk.size() == rest.size() ? kLast : kMore, sequence_, chunk);
    repetitions_ = 0;
    sendPacket(now);
}

void Transmitter::sendPacket(TimePoint now) {
    const auto sent = sink_.send(packet_, now);
    deadline_ = sent.arrives + patience_;
    if (sent.endsTransfer) {
        cancel();
    }
}

void Transmitter::takeAcknowledgement(const PacketView& packet, TimePoint now) {
    if (!isBusy()) {
        return;
    }
    switch (packet.flag()) {
        case kAbort:
            return cancel();
        case kSendAgain:
            if (packet.number() == sequence_) {
                sendPacket(now);
            }
            return;
        case kAcknowledge:
            if (packet.number() != sequence_ + 1) {
                return;
            }
            if (offset_ == transfer_.size()) {
                return cancel();
            }
            ++sequence_;
            return sendNext(now);
        default:
            return;
    }
}

void Transmitter::elapse(TimePoint now) {
    if (!isBusy() || now < deadline_) {
        return;
    }
    if (repetitions_ < kRepetitions) {
        ++repetitions_;
        return sendPacket(now);
    }
    sink_.send(abortDataPacket(session_, static_cast<std::uint16_t>(Error::notAcknowledged)), now);
    cancel();
}

std::optional<TimePoint> Transmitter::deadline() const {
    return isBusy() ? std::optional(deadline_) : std::nullopt;
}

void Transmitter::cancel() {
    packet_.clear();
    transfer_.clear();
}

}  // namespace vi::wired

#include "wired/Engine.h"

#include <algorithm>
#include <utility>

namespace vi::wired {
namespace {

constexpr std::uint8_t kMaxSession = 254;

/// The number of measurements kept for a host that accepts nothing; the oldest are dropped first.
constexpr std::size_t kMaxPressed = 16;

/// Longer than any single record or parameter.
constexpr std::size_t kMinMaxTransfer = 1024;

std::size_t maxTransfer(const Instrument& instrument) {
    const std::size_t records = (std::size_t{instrument.capacity()} + 1) * sizeof(Record);
    return std::max(kMinMaxTransfer, 1 + records);
}

}  // namespace

Engine::Engine(Instrument& instrument, PacketSink& sink, Settings settings, Note note)
    : instrument_(instrument),
      sink_(sink),
      settings_(settings),
      note_(std::move(note)),
      session_(settings.lastSession),
      receiver_(maxTransfer(instrument)),
      transmitter_(sink, settings.maxPacket, settings.acknowledgementPatience) {}

void Engine::take(ByteView packet, TimePoint now) {
    const PacketView view(packet);
    if (view.type() == kShakeHands) {
        return shakeHands(packet, now);
    }
    if (state_ == State::none) {
        return note_("ignored: no session, a shake-hands request must come first");
    }
    if (view.session() != session_) {
        return note_("ignored: it carries another session's identifier");
    }
    switch (view.type()) {
        case kShakeHandsConfirmation:
            if (state_ == State::offered) {
                state_ = State::open;
                nextKeepAlive_ = now + settings_.keepAlive;
            }
            return;
        case kDisconnect:
            sink_.send(shortPacket(kDisconnectAcknowledgement, session_), now);
            return endSession();
        case kDisconnectAcknowledgement:
            return endSession();
        case kKeepAliveAnswer:
            return;
        case kData:
        case kAcknowledgement:
            break;
        default:
            return note_("ignored: hosts send no such packet");
    }
    if (state_ != State::open) {
        return note_("ignored: the session is not confirmed, or is ending");
    }
    if (view.type() == kData) {
        takeData(view, now);
    } else {
        transmitter_.takeAcknowledgement(view, now);
    }
    startNext(now);
}

void Engine::shakeHands(ByteView packet, TimePoint now) {
    if (!isShakeHandsRequest(packet)) {
        return note_("ignored: a shake-hands request is 55 aa a1 00 00 00 02 00 02");
    }
    // The host of the previous session may have been killed in the middle of anything.
    endSession();
    sink_.discardPending();
    session_ = static_cast<std::uint8_t>(session_ % kMaxSession + 1);
    state_ = State::offered;
    sink_.send(shakeHandsAcknowledgement(session_, settings_.maxPacket), now);
}

void Engine::endSession() {
    state_ = State::none;
    receiver_.clear();
    transmitter_.cancel();
    scheduled_.clear();
    replies_.clear();
    pressed_.clear();
}

void Engine::takeData(const PacketView& packet, TimePoint now) {
    if (packet.bytes().size() > settings_.maxPacket) {
        note_("refused: longer than the largest packet that the shake-hands allows");
        receiver_.clear();
        return refuseTransfer(Error::packetTooLong, now);
    }
    switch (receiver_.take(packet)) {
        case Receiver::Verdict::partial:
        case Receiver::Verdict::repeated:
            return acknowledge(kAcknowledge, receiver_.nextSequence(), now);
        case Receiver::Verdict::complete:
            return runCommand(now);
        case Receiver::Verdict::damaged:
            note_("wrong CRC: asked for again");
            return acknowledge(kSendAgain, receiver_.nextSequence(), now);
        case Receiver::Verdict::outOfOrder:
            return note_("ignored: not the sequence number that is due, or no payload");
        case Receiver::Verdict::tooLong:
            note_("refused: more data than the instrument can hold");
            return refuseTransfer(Error::storageFull, now);
        case Receiver::Verdict::aborted:
            return;
    }
}

void Engine::runCommand(TimePoint now) {
    const std::uint32_t next = receiver_.nextSequence();
    const Bytes transfer = receiver_.transfer();
    receiver_.clear();
    if (transfer.empty()) {
        return refuseTransfer(Error::unknownCommand, now);
    }
    const std::uint8_t operation = transfer.front();
    Answer answer = execute(instrument_, operation, ByteView(transfer).subspan(1), now);

    if (!answer.isRequest && answer.error != Error::none) {
        return refuseTransfer(answer.error, now);
    }
    if (!answer.isRequest) {
        if (answer.ready <= now) {
            return acknowledge(kAcknowledge, next, now);
        }
        scheduled_.push_back({answer.ready, false, acknowledgement(session_, kAcknowledge, next)});
        return;
    }
    acknowledge(kAcknowledge, next, now);
    answer.reply.insert(answer.reply.begin(), operation);
    if (answer.error != Error::none) {
        replies_.push_back({.refusal = answer.error, .transfer = {}});
    } else if (answer.ready <= now) {
        replies_.push_back({.refusal = Error::none, .transfer = std::move(answer.reply)});
    } else {
        scheduled_.push_back({answer.ready, true, std::move(answer.reply)});
    }
}

void Engine::acknowledge(Flag flag, std::uint32_t number, TimePoint now) {
    sink_.send(acknowledgement(session_, flag, number), now);
}

void Engine::refuseTransfer(Error error, TimePoint now) {
    acknowledge(kAbort, static_cast<std::uint16_t>(error), now);
}

void Engine::startNext(TimePoint now) {
    while (!transmitter_.isBusy() && !replies_.empty()) {
        Waiting next = std::move(replies_.front());
        replies_.pop_front();
        if (next.refusal != Error::none) {
            sink_.send(abortDataPacket(session_, static_cast<std::uint16_t>(next.refusal)), now);
        } else {
            transmitter_.start(session_, std::move(next.transfer), now);
        }
    }
    if (mayTellOfPress() && pressed_.front().due <= now) {
        Bytes transfer = std::move(pressed_.front().bytes);
        pressed_.pop_front();
        transmitter_.start(session_, std::move(transfer), now);
    }
}

/// The button's results wait until the host's current transfer has ended.
bool Engine::mayTellOfPress() const {
    return !pressed_.empty() && hasSession() && !transmitter_.isBusy() && scheduled_.empty() &&
           !receiver_.isReceiving();
}

void Engine::elapse(TimePoint now) {
    for (std::size_t i = 0; i < scheduled_.size();) {
        if (scheduled_[i].due > now) {
            ++i;
            continue;
        }
        Scheduled finished = std::move(scheduled_[i]);
        scheduled_.erase(scheduled_.begin() + static_cast<std::ptrdiff_t>(i));
        if (finished.isTransfer) {
            replies_.push_back({.refusal = Error::none, .transfer = std::move(finished.bytes)});
        } else {
            sink_.send(finished.bytes, now);
        }
    }
    transmitter_.elapse(now);
    if (hasSession() && settings_.keepAlive.count() > 0 && nextKeepAlive_ <= now) {
        requestKeepAlive(now);
        nextKeepAlive_ = now + settings_.keepAlive;
    }
    startNext(now);
}

std::optional<TimePoint> Engine::deadline() const {
    std::optional<TimePoint> first = transmitter_.deadline();
    const auto consider = [&first](TimePoint due) { first = first ? std::min(*first, due) : due; };
    for (const Scheduled& scheduled : scheduled_) {
        consider(scheduled.due);
    }
    if (mayTellOfPress()) {
        consider(pressed_.front().due);
    }
    if (hasSession() && settings_.keepAlive.count() > 0) {
        consider(nextKeepAlive_);
    }
    return first;
}

Error Engine::press(Kind kind, TimePoint now) {
    const auto measurement = instrument_.press(kind, now);
    if (measurement.error != Error::none) {
        return measurement.error;
    }
    // A host that has been offered a session is notified as soon as it has confirmed it.
    if (state_ == State::offered || hasSession()) {
        Bytes transfer{kind == Kind::standard ? kMeasureStandard : kMeasureTrial};
        transfer.insert(transfer.end(), measurement.record.begin(), measurement.record.end());
        pressed_.push_back({measurement.ready, true, std::move(transfer)});
        if (pressed_.size() > kMaxPressed) {
            pressed_.pop_front();
        }
    }
    return Error::none;
}

void Engine::requestKeepAlive(TimePoint now) {
    sink_.send(shortPacket(kKeepAlive, session_), now);
}

void Engine::disconnect(TimePoint now) {
    endSession();
    sink_.send(shortPacket(kDisconnect, session_), now);
    state_ = State::closing;
}

}  // namespace vi::wired

#include "adapter/Peripheral.h"

#include <algorithm>

#include "adapter/Commands.h"
#include "adapter/Packet.h"

namespace vi::adapter {
namespace {

/// A host that keeps the line busy is told of so many measurements, the oldest are forgotten first.
constexpr std::size_t kMaxPressed = 16;

Answer answerTo(const PacketView& packet, PacketLine::Verdict verdict, Instrument& instrument,
                TimePoint now) {
    switch (verdict) {
        case PacketLine::Verdict::fail:
            return {.payload = word("FAIL"), .ready = now};
        case PacketLine::Verdict::inval:
            return {.payload = word("INVAL"), .ready = now};
        default:
            return execute(instrument, packet.type(), packet.cmd(), packet.payload(), now);
    }
}

}  // namespace

void Peripheral::take(ByteView packet, PacketLine::Verdict verdict, TimePoint now) {
    const PacketView view(packet);
    lastFromHost_ = now;
    const Answer answer = answerTo(view, verdict, instrument_, now);
    if (view.type() == kRecords && view.cmd() == kHello) {
        isGreeted_ = true;
    }
    if (view.type() == kRecords && view.cmd() == kGoodbye) {
        unlink();
    }
    const TimePoint due = std::max(answer.ready, lastNotification_ + kQuiet);
    line_.sendReply(makePacket(view.type(), view.cmd(), answer.payload), due);
}

std::optional<TimePoint> Peripheral::deadline() const {
    // A message that is under way has its own deadline, after which this one is asked again.
    if (pressed_.empty() || !line_.outbox().isEmpty()) {
        return std::nullopt;
    }
    const TimePoint lastTraffic = std::max(lastFromHost_, line_.outbox().quietSince());
    return std::max(pressed_.front().ready, lastTraffic + kQuiet);
}

void Peripheral::elapse(TimePoint now) {
    const auto due = deadline();
    if (due && *due <= now) {
        lastNotification_ = line_.sendNotification(std::move(pressed_.front().packet), now);
        pressed_.pop_front();
    }
}

void Peripheral::unlink() {
    isGreeted_ = false;
    pressed_.clear();
}

Error Peripheral::press(Kind kind, TimePoint now) {
    const auto measurement = instrument_.press(kind, now);
    if (measurement.error == Error::none && isGreeted_) {
        if (pressed_.size() == kMaxPressed) {
            pressed_.pop_front();
        }
        const std::uint8_t cmd = kind == Kind::standard ? kStandardMeasured : kTrialMeasured;
        pressed_.push_back({measurement.ready, makePacket(kRecords, cmd, measurement.record)});
    }
    return measurement.error;
}

}  // namespace vi::adapter

#include "wired/WiredProtocol.h"

#include <algorithm>
#include <utility>

#include "wired/Describe.h"

namespace vi::wired {

using Direction = TrafficLog::Direction;

WiredProtocol::WiredProtocol(Instrument& instrument, DelayLine& out, TrafficLog& log,
                             Settings settings, std::function<void()> unplug)
    : instrument_(instrument),
      log_(log),
      unplug_(std::move(unplug)),
      faults_(
          std::move(settings.faults), settings.seed, out,
          [this](ByteView bytes, bool isPacket, TimePoint now) {
              if (log_.isOn()) {
                  log_.packet(Direction::toHost, isPacket ? describe(bytes) : "garbage", bytes,
                              now);
              }
          },
          [this](std::string_view fault) { log_.note("fault: " + std::string(fault), now_); }),
      engine_(instrument, faults_, settings.engine,
              [this](std::string_view words) { log_.note(words, now_); }),
      scanner_(
          [this](ByteView packet) { takePacket(packet); },
          [this](ByteView bytes) { log_.packet(Direction::fromHost, "no packet", bytes, now_); }) {}

void WiredProtocol::receive(ByteView bytes, TimePoint now) {
    now_ = now;
    scanner_.receive(bytes, now);
}

void WiredProtocol::takePacket(ByteView packet) {
    if (log_.isOn()) {
        log_.packet(Direction::fromHost, describe(packet), packet, now_);
    }
    switch (faults_.admit(packet, now_)) {
        case FaultLayer::Verdict::pass:
            engine_.take(packet, now_);
            break;
        case FaultLayer::Verdict::swallow:
            break;
        case FaultLayer::Verdict::disconnect:
            engine_.disconnect(now_);
            break;
        case FaultLayer::Verdict::unplug:
            unplug_();
            break;
    }
    faults_.settle();
}

void WiredProtocol::elapse(TimePoint now) {
    now_ = now;
    scanner_.elapse(now);
    engine_.elapse(now);
}

std::optional<TimePoint> WiredProtocol::deadline() const {
    const auto scanner = scanner_.deadline();
    const auto engine = engine_.deadline();
    return scanner && engine ? std::min(scanner, engine) : (scanner ? scanner : engine);
}

void WiredProtocol::lineLost() {
    scanner_.clear();
    engine_.endSession();
    faults_.discardPending();
}

Error WiredProtocol::press(Kind kind, TimePoint now) {
    now_ = now;
    return engine_.press(kind, now);
}

bool WiredProtocol::requestKeepAlive(TimePoint now) {
    now_ = now;
    if (!engine_.hasSession()) {
        return false;
    }
    engine_.requestKeepAlive(now);
    return true;
}

bool WiredProtocol::disconnect(TimePoint now) {
    now_ = now;
    if (!engine_.hasSession()) {
        return false;
    }
    engine_.disconnect(now);
    return true;
}

std::string WiredProtocol::setFaults(const std::vector<std::string>& faults) {
    FaultPlan plan;
    std::string problem = addFaults(plan, faults);
    if (problem.empty()) {
        faults_.restart(plan);
    }
    return problem;
}

}  // namespace vi::wired

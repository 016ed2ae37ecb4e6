#include "adapter/AdapterProtocol.h"

#include <algorithm>
#include <utility>

namespace vi::adapter {
namespace {

using namespace std::chrono_literals;

/// The time from the last reply to the end of a link, by when the host has read it.
constexpr auto kDropPause = 100ms;

}  // namespace

AdapterProtocol::AdapterProtocol(Settings settings, const std::function<std::uint32_t()>& wallClock,
                                 DelayLine& out, TrafficLog& log, std::function<void()> unplug)
    : slaves_(std::move(settings.slaves)),
      out_(out),
      log_(log),
      unplug_(std::move(unplug)),
      outbox_(out, log),
      line_(settings.module.faults, outbox_),
      module_(slaves_, outbox_, log, std::move(settings.module),
              [this](std::size_t slave) {
                  peripherals_[slave]->unlink();
                  cutter_.clear();
              }),
      cutter_([this](ByteView packet) { takePacket(packet); },
              [this](ByteView bytes) {
                  log_.packet(TrafficLog::Direction::fromHost, "no packet", bytes, now_);
              }) {
    for (const Slave& slave : slaves_) {
        peripherals_.push_back(std::make_unique<Peripheral>(slave.instrument, wallClock, line_));
    }
}

Peripheral* AdapterProtocol::carried() const {
    return module_.isCarrying() ? peripherals_[*module_.linked()].get() : nullptr;
}

void AdapterProtocol::receive(ByteView bytes, TimePoint now) {
    now_ = now;
    for (const std::uint8_t byte : bytes) {
        if (!module_.isCarrying()) {
            module_.receive(byte, now);
        } else if (module_.watch(byte, now)) {
            cutter_.clear();
        } else {
            cutter_.receive(byte, now);
        }
    }
    outbox_.elapse(now);
}

void AdapterProtocol::takePacket(ByteView packet) {
    log_.packet(TrafficLog::Direction::fromHost, describe("request", packet), packet, now_);
    const PacketLine::Verdict verdict = line_.admit();
    if (verdict == PacketLine::Verdict::unplug) {
        return unplug_();
    }
    if (verdict != PacketLine::Verdict::swallow && !module_.isDropping()) {
        peripherals_[*module_.linked()]->take(packet, verdict, now_);
    }
    if (line_.mustDropLink()) {
        module_.dropLink(std::max(now_, outbox_.end()) + kDropPause);
    }
}

void AdapterProtocol::elapse(TimePoint now) {
    now_ = now;
    cutter_.elapse(now);
    module_.elapse(now);
    if (Peripheral* const peripheral = carried()) {
        peripheral->elapse(now);
    }
    outbox_.elapse(now);
}

std::optional<TimePoint> AdapterProtocol::deadline() const {
    std::optional<TimePoint> first;
    const auto consider = [&first](std::optional<TimePoint> due) {
        if (due) {
            first = first ? std::min(*first, *due) : *due;
        }
    };
    consider(cutter_.deadline());
    consider(module_.deadline());
    consider(outbox_.deadline());
    if (const Peripheral* const peripheral = carried()) {
        consider(peripheral->deadline());
    }
    return first;
}

void AdapterProtocol::lineLost() {
    cutter_.clear();
    module_.powerOff();
    outbox_.clear();
}

bool AdapterProtocol::hasSession() const {
    const Peripheral* const peripheral = carried();
    return peripheral != nullptr && peripheral->isGreeted();
}

Error AdapterProtocol::press(Kind kind, TimePoint now) {
    now_ = now;
    Peripheral* const peripheral = pressed();
    return peripheral == nullptr ? Error::unknownCommand : peripheral->press(kind, now);
}

Peripheral* AdapterProtocol::pressed() const {
    return peripherals_.empty() ? nullptr : peripherals_[module_.linked().value_or(0)].get();
}

Instrument* AdapterProtocol::instrument() {
    Peripheral* const peripheral = pressed();
    return peripheral == nullptr ? nullptr : &peripheral->instrument();
}

std::string AdapterProtocol::setFaults(const std::vector<std::string>& faults) {
    FaultPlan plan;
    std::string problem = addFaults(plan, faults);
    if (problem.empty()) {
        line_.restart(plan);
        module_.restart(plan);
        out_.setByteByByte(plan.oneByte);
    }
    return problem;
}

bool AdapterProtocol::disconnect(TimePoint now) {
    if (!module_.linked()) {
        return false;
    }
    module_.dropLink(now);
    return true;
}

}  // namespace vi::adapter

#pragma once

#include <functional>

#include "line/DelayLine.h"
#include "Protocol.h"
#include "TrafficLog.h"
#include "wired/Engine.h"
#include "wired/FaultLayer.h"
#include "wired/Scanner.h"

namespace vi::wired {

/// The instrument on its cable: splits the host's bytes into packets and passes them through the
/// fault layer to the engine, and back.
class WiredProtocol final : public Protocol {
  public:
    struct Settings {
        Engine::Settings engine;
        FaultPlan faults;
        std::uint64_t seed = 1;
    };

    /// \param instrument, out and log must live as long as the protocol.
    /// \param unplug makes the line disappear.
    WiredProtocol(Instrument& instrument, DelayLine& out, TrafficLog& log, Settings settings,
                  std::function<void()> unplug);

    void receive(ByteView bytes, TimePoint now) override;
    void elapse(TimePoint now) override;
    std::optional<TimePoint> deadline() const override;
    void lineLost() override;
    bool hasSession() const override { return engine_.hasSession(); }
    Error press(Kind kind, TimePoint now) override;
    bool requestKeepAlive(TimePoint now) override;
    bool disconnect(TimePoint now) override;
    Instrument* instrument() override { return &instrument_; }
    std::string setFaults(const std::vector<std::string>& faults) override;

  private:
    void takePacket(ByteView packet);

    Instrument& instrument_;
    TrafficLog& log_;
    std::function<void()> unplug_;
    TimePoint now_{};  // of the current step, for the parts' reports
    FaultLayer faults_;
    Engine engine_;
    Scanner scanner_;
};

}  // namespace vi::wired

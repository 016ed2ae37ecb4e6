#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "adapter/AtModule.h"
#include "adapter/FaultPlan.h"
#include "adapter/Outbox.h"
#include "adapter/Packet.h"
#include "adapter/PacketLine.h"
#include "adapter/Peripheral.h"
#include "adapter/Slave.h"
#include "line/DelayLine.h"
#include "Protocol.h"
#include "TrafficLog.h"

namespace vi::adapter {

/// A wireless adapter on the line, and the instruments within its reach: passes the host's bytes to
/// the module or, in data mode, to the linked instrument.
class AdapterProtocol final : public Protocol {
  public:
    struct Settings {
        std::vector<Slave> slaves;
        AtModule::Settings module;  ///< its faults are also those of the instruments
    };

    /// \param wallClock gives the seconds since 1970.
    /// \param out and log must live as long as the protocol.
    /// \param unplug makes the line disappear.
    AdapterProtocol(Settings settings, const std::function<std::uint32_t()>& wallClock,
                    DelayLine& out, TrafficLog& log, std::function<void()> unplug);

    void receive(ByteView bytes, TimePoint now) override;
    void elapse(TimePoint now) override;
    std::optional<TimePoint> deadline() const override;
    void lineLost() override;

    /// True while a host has said hello to an instrument and is linked to it.
    bool hasSession() const override;
    /// The button of the linked instrument, else of the first one.
    Error press(Kind kind, TimePoint now) override;
    /// A wireless instrument has no keep-alive.
    bool requestKeepAlive(TimePoint) override { return false; }
    /// The linked instrument ends the link.
    bool disconnect(TimePoint now) override;
    Instrument* instrument() override;
    std::string setFaults(const std::vector<std::string>& faults) override;

  private:
    Peripheral* carried() const;
    Peripheral* pressed() const;
    void takePacket(ByteView packet);

    std::vector<Slave> slaves_;
    DelayLine& out_;
    TrafficLog& log_;
    std::function<void()> unplug_;
    TimePoint now_{};  // of the current step
    Outbox outbox_;
    PacketLine line_;
    AtModule module_;
    PacketCutter cutter_;
    std::vector<std::unique_ptr<Peripheral>> peripherals_;  // one per slave
};

}  // namespace vi::adapter

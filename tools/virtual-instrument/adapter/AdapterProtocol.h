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

/// A wireless adapter on the line, and the instruments within its reach: gives the host's bytes to
/// the module or, while that carries, to the instrument that it is linked to.
class AdapterProtocol final : public Protocol {
  public:
    struct Settings {
        std::vector<Slave> slaves;
        AtModule::Settings module;  ///< its faults are those of the instruments, too
    };

    /// \param wallClock gives the seconds since 1970.
    /// \param out and log must live as long as the protocol.
    /// \param unplug makes the line go away.
    AdapterProtocol(Settings settings, const std::function<std::uint32_t()>& wallClock,
                    DelayLine& out, TrafficLog& log, std::function<void()> unplug);

    void receive(ByteView bytes, TimePoint now) override;
    void elapse(TimePoint now) override;
    std::optional<TimePoint> deadline() const override;
    void lineLost() override;

    /// True while a host has greeted an instrument and has its bytes.
    bool hasSession() const override;
    /// The button is that of the linked instrument, else of the first one.
    Error press(Kind kind, TimePoint now) override;
    /// A wireless instrument knows none.
    bool requestKeepAlive(TimePoint) override { return false; }
    /// The linked instrument ends the link.
    bool disconnect(TimePoint now) override;

  private:
    Peripheral* carried() const;
    void takePacket(ByteView packet);

    std::vector<Slave> slaves_;
    TrafficLog& log_;
    std::function<void()> unplug_;
    TimePoint now_{};  // of the step that is being done
    Outbox outbox_;
    PacketLine line_;
    AtModule module_;
    PacketCutter cutter_;
    std::vector<std::unique_ptr<Peripheral>> peripherals_;  // one a slave
};

}  // namespace vi::adapter

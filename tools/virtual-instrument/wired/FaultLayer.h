#pragma once

#include <cstdint>
#include <functional>
#include <random>
#include <string_view>

#include "Bytes.h"
#include "line/DelayLine.h"
#include "wired/FaultPlan.h"
#include "wired/Packet.h"
#include "wired/PacketSink.h"

namespace vi::wired {

/// A layer between the engine and the line that applies the planned faults. Without a fault
/// everything passes unchanged.
class FaultLayer final : public PacketSink {
  public:
    enum class Verdict {
        pass,        ///< for the engine
        swallow,     ///< the engine must not see the packet
        disconnect,  ///< the same, and the engine must say goodbye
        unplug,      ///< the same, and the line must disappear
    };

    /// Called with what goes out: whole packets, and other bytes.
    using Tap = std::function<void(ByteView bytes, bool isPacket, TimePoint now)>;

    /// Called with the name of a fault when it strikes.
    using Strike = std::function<void(std::string_view fault)>;

    /// \param out must live as long as the layer.
    FaultLayer(FaultPlan plan, std::uint64_t seed, DelayLine& out, Tap tap, Strike strike);

    /// Replaces the planned faults; counts begin anew.
    void restart(const FaultPlan& plan);

    /// \param packet one whole packet from the host.
    Verdict admit(ByteView packet, TimePoint now);
    /// The packet admitted last has been answered.
    void settle() { isSilent_ = isSilent_ || plan_.silence == fromHost_; }

    Sent send(ByteView packet, TimePoint now) override;
    void discardPending() override { out_.clear(); }

  private:
    void answer(const PacketView& packet, Flag flag, std::uint32_t number, TimePoint now);
    Sent sendData(const PacketView& packet, TimePoint now);
    void sendWrongSequence(const PacketView& packet, TimePoint now);
    TimePoint emit(ByteView packet, TimePoint now);
    void emitGarbage(TimePoint now);

    FaultPlan plan_;
    std::mt19937_64 random_;
    DelayLine& out_;
    Tap tap_;
    Strike strike_;

    std::uint32_t fromHost_ = 0;
    std::uint32_t sent_ = 0;
    std::uint32_t dataSent_ = 0;
    std::uint32_t acknowledgementsDue_ = 0;
    std::uint32_t asked_ = 0;  // how often the expected packet has been requested again
    bool isSilent_ = false;
};

}  // namespace vi::wired

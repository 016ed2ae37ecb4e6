#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "adapter/FaultPlan.h"
#include "adapter/Outbox.h"
#include "Bytes.h"

namespace vi::adapter {

/// Carries the instruments' packets to the outbox and applies the planned faults. Without a fault
/// everything passes unchanged.
class PacketLine {
  public:
    enum class Verdict {
        pass,     ///< for the instrument
        fail,     ///< the instrument must refuse, with FAIL
        inval,    ///< with INVAL
        swallow,  ///< the instrument must not see the packet
        unplug,   ///< the same, and the line must disappear
    };

    /// \param outbox must live as long as the line.
    PacketLine(FaultPlan plan, Outbox& outbox) : plan_(std::move(plan)), outbox_(outbox) {}

    /// Replaces the planned faults; counts begin anew.
    void restart(const FaultPlan& plan) {
        plan_ = plan;
        fromHost_ = replies_ = toHost_ = 0;
    }

    /// Counts one packet from the host and decides what happens to it.
    Verdict admit();
    /// True if the link must end once the packet admitted last has been answered.
    bool mustDropLink() const { return plan_.linkDrop == fromHost_; }

    /// \param due when it may leave.
    /// \return when its last byte leaves.
    TimePoint sendReply(Bytes packet, TimePoint due);
    TimePoint sendNotification(Bytes packet, TimePoint due);

    Outbox& outbox() { return outbox_; }
    const Outbox& outbox() const { return outbox_; }

  private:
    /// \param faults those that have struck, for the log.
    TimePoint send(std::string_view role, Bytes packet, TimePoint due, std::string faults = {});

    FaultPlan plan_;
    Outbox& outbox_;
    std::uint32_t fromHost_ = 0;
    std::uint32_t replies_ = 0;
    std::uint32_t toHost_ = 0;
};

}  // namespace vi::adapter

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Bytes.h"
#include "instrument/Instrument.h"

namespace vi {

/// The protocol between a host and the instrument. Owns no clock and no line: bytes and time points
/// come in, bytes go out through what it was constructed with.
class Protocol {
  public:
    virtual ~Protocol() = default;

    virtual void receive(ByteView bytes, TimePoint now) = 0;

    /// Does what is due.
    virtual void elapse(TimePoint now) = 0;
    /// When elapse() must be called next; nothing if nothing is pending.
    virtual std::optional<TimePoint> deadline() const = 0;

    /// The line is gone, and with it all exchanges with the host.
    virtual void lineLost() = 0;

    virtual bool hasSession() const = 0;

    /// The instrument's own button: measures, stores, and notifies the host if there is one.
    virtual Error press(Kind kind, TimePoint now) = 0;
    /// \return false if no host is connected, or the protocol has no such request.
    virtual bool requestKeepAlive(TimePoint now) = 0;
    /// \return false if no host is connected.
    virtual bool disconnect(TimePoint now) = 0;

    /// The instrument whose button press() presses; null if none is within reach.
    virtual Instrument* instrument() = 0;
    /// Replaces the planned faults; counts begin anew.
    /// \param faults each NAME or NAME:N.
    /// \return empty, or what is wrong with one; the earlier ones then stay.
    virtual std::string setFaults(const std::vector<std::string>& faults) = 0;
};

}  // namespace vi

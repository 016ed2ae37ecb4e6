#pragma once

#include <optional>
#include <string>

#include "Bytes.h"
#include "instrument/Instrument.h"

namespace vi {

/// How a host talks with the instrument. Owns no clock and no line: bytes and time points come in,
/// bytes go out through what the protocol was built with.
class Protocol {
  public:
    virtual ~Protocol() = default;

    virtual void receive(ByteView bytes, TimePoint now) = 0;

    /// Does what has become due.
    virtual void elapse(TimePoint now) = 0;
    /// When elapse() is to be called next; nothing while nothing is to come.
    virtual std::optional<TimePoint> deadline() const = 0;

    /// The line has gone: whatever was going on with the host is over.
    virtual void lineLost() = 0;

    virtual bool hasSession() const = 0;

    /// The instrument's own button: measures, stores, and tells the host if there is one.
    virtual Error press(Kind kind, TimePoint now) = 0;
    /// \return false when no host is connected, or the protocol knows no such request.
    virtual bool requestKeepAlive(TimePoint now) = 0;
    /// \return false when no host is connected.
    virtual bool disconnect(TimePoint now) = 0;
};

}  // namespace vi

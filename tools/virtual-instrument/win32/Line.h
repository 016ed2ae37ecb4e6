#pragma once

#include <windows.h>

#include <string>

#include "Bytes.h"

namespace vi {

/// The line to a host: a named pipe of this program, or one end of a pair of COM ports.
class Line {
  public:
    virtual ~Line() = default;
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    /// The name that the host opens, or for a COM port the name of this end.
    virtual const std::string& name() const = 0;

    /// Signalled when bytes have arrived or, on a pipe, a host has come or gone.
    virtual HANDLE readEvent() const = 0;
    /// Appends what has arrived and waits for more.
    /// \throw std::runtime_error if the line is gone.
    virtual void read(Bytes& to) = 0;

    /// Signalled when bytes are accepted again after write() has accepted none; null if nothing
    /// signals it.
    virtual HANDLE writeEvent() const = 0;
    /// \return how much was accepted.
    virtual std::size_t write(ByteView bytes) = 0;

  protected:
    Line() = default;
};

}  // namespace vi

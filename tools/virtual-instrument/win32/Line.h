#pragma once

#include <windows.h>

#include <string>

#include "Bytes.h"

namespace vi {

/// What a host is met on: a named pipe of the program's own, or one end of a pair of COM ports.
class Line {
  public:
    virtual ~Line() = default;
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    /// What the host opens, or for a COM port this end's name.
    virtual const std::string& name() const = 0;

    /// Signalled when bytes have come or, at a pipe, a host has come or gone.
    virtual HANDLE readEvent() const = 0;
    /// Appends what has come and waits on.
    /// \throw std::runtime_error when the line has gone.
    virtual void read(Bytes& to) = 0;

    /// Signalled when bytes are taken again after write() has taken none; null when nothing tells.
    virtual HANDLE writeEvent() const = 0;
    /// \return how much was taken.
    virtual std::size_t write(ByteView bytes) = 0;

  protected:
    Line() = default;
};

}  // namespace vi

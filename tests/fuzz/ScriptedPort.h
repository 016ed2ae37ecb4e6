#pragma once

#include <chrono>

#include "fuzz/Script.h"

namespace ovk::fuzz {

/// What is at the other end of every serial port of the program: ScriptedPort.cpp takes the place
/// of the library's own access to the system.
class PortPeer {
  public:
    virtual ~PortPeer() = default;

    /// What comes in answer to the bytes that the library has written, at once.
    virtual Bytes answer(BytesView written) = 0;

    /// What comes during a wait that begins with nothing to read; empty if the wait is in vain.
    virtual Bytes duringWait(std::chrono::milliseconds /*timeout*/) { return {}; }
};

/// \param peer must live until another one takes its place; null makes every open fail.
void setPortPeer(PortPeer* peer);

}  // namespace ovk::fuzz

#pragma once

#include <termios.h>

#include <chrono>
#include <string>

#include "CQCommProtocol/WireBytes.h"

namespace ovk::test {

/// A terminal whose far end the test holds. It is left in the system's usual settings (lines,
/// echo), as a real port is found.
class PseudoTerminal {
  public:
    PseudoTerminal();
    ~PseudoTerminal();
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    const std::string& path() const { return path_; }

    void send(const Bytes& bytes) const;
    void send(std::string_view text) const { send(Bytes(text.begin(), text.end())); }
    /// Waits, up to ten seconds, for so many bytes from the port; returns fewer if no more come.
    Bytes receive(std::size_t count) const;
    /// What the port has sent; empty if nothing comes in this time.
    Bytes receiveSome(std::chrono::milliseconds patience) const;
    /// Waits until as many bytes wait to be read on the port's side.
    void awaitQueued(std::size_t count) const;
    /// How the port is set up.
    termios attributes() const;
    /// The device is gone.
    void hangUp();

  private:
    int farEnd_;
    std::string path_;
};

}  // namespace ovk::test

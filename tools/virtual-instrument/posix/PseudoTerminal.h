#pragma once

#include <string>

#include "Bytes.h"
#include "posix/Descriptor.h"

namespace vi {

/// A pseudo-terminal whose slave end hosts open as their serial port, as often as they like. It
/// disappears with the object, and hosts that have it open see a hang-up.
class PseudoTerminal {
  public:
    /// \param link path of a symbolic link to make; empty for none. A link to a pseudo-terminal that
    ///        is there, such as a killed program has left, is replaced; anything else is not.
    /// \throw std::runtime_error with what went wrong.
    explicit PseudoTerminal(const std::string& link);
    /// Removes the link, unless another program has replaced it.
    ~PseudoTerminal();
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    const std::string& name() const { return name_; }

    /// The descriptor on which to wait for bytes from the host.
    int descriptor() const { return master_.get(); }
    /// Appends what has arrived.
    void read(Bytes& to);
    /// \return how much was accepted.
    std::size_t write(ByteView bytes);

    /// A host has closed the port, and none has opened it since.
    void hostHasGone();

  private:
    void openSlave();
    void makeLink();

    Descriptor master_;
    // Kept open: without any open slave the master would report a permanent hang-up.
    Descriptor slave_;
    std::string name_;
    std::string link_;
};

}  // namespace vi

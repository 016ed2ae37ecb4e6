#pragma once

#include <string>

#include "Bytes.h"
#include "posix/Descriptor.h"

namespace vi {

/// A pseudo-terminal whose slave end hosts open as their serial port, as often as they like. It
/// disappears with the object, and hosts that have it open see a hang-up.
class PseudoTerminal {
  public:
    /// \param link path of a symbolic link to make; empty for none. A link that is there is
    ///        replaced.
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

    /// The descriptor on which to wait for hosts that open or close the port.
    int watchDescriptor() const { return watch_.get(); }
    void handleWatch();

  private:
    void openSlave();
    void watchHosts();
    void makeLink();

    Descriptor master_;
    // Kept open: without any open slave the master would report a permanent hang-up.
    Descriptor slave_;
    Descriptor watch_;
    std::string name_;
    std::string link_;
};

}  // namespace vi

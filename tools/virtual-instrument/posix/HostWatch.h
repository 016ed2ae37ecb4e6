#pragma once

#include <functional>
#include <string>

#include "posix/Descriptor.h"

namespace vi {

/// Watches which terminals are opened and closed by hosts.
class HostWatch {
  public:
    /// \throw std::runtime_error if the system has no more watches; so does add().
    HostWatch();

    /// The descriptor on which to wait.
    int descriptor() const { return descriptor_.get(); }

    /// \return what identifies the terminal here.
    int add(const std::string& terminal);
    void remove(int terminal);

    /// \param hasGone called for a terminal that a host has closed and none has opened since.
    void handle(const std::function<void(int terminal)>& hasGone);

  private:
    Descriptor descriptor_;
};

}  // namespace vi

#pragma once

#include <memory>
#include <string>
#include <vector>

namespace cqtool {

class ChildProcess;

/// A virtual instrument that lives as long as this object: the program cq-virtual-instrument, found
/// beside this one or on the search path, as a child whose standard input is held open.
class VirtualInstrument {
  public:
    /// The device on the port: the instrument itself, or an adapter with instruments within reach.
    enum class Kind { instrument, adapter };

    /// Starts it and waits until it has named its port.
    /// \param options additional arguments of the program.
    /// Throws UsageError if it refuses the options, Failure if it is not found or does not start.
    VirtualInstrument(Kind kind, const std::vector<std::string>& options);
    /// Ends it.
    ~VirtualInstrument();
    VirtualInstrument(const VirtualInstrument&) = delete;
    VirtualInstrument& operator=(const VirtualInstrument&) = delete;

    const std::string& portName() const { return portName_; }

  private:
    std::unique_ptr<ChildProcess> process_;
    std::string portName_;
};

}  // namespace cqtool

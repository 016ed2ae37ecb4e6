#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "cqapi/CQApi.h"
#include "instrument/VirtualInstrument.h"
#include "ResultText.h"
#include "system/Interrupt.h"

namespace cqtool {

/// Which instrument to use and how.
struct ConnectionOptions {
    std::string port;  ///< empty: the library finds it
    bool useVirtual = false;
    std::string virtualOptions;  ///< as on a command line
    double openTimeout = 5;      ///< seconds
    bool writeDebugLog = false;
};

/// An open instrument, closed at the end of this object or by Ctrl-C, which makes a call that is
/// waiting return.
class Connection {
  public:
    /// Opens, starting a virtual instrument first if asked to.
    /// Throws Failure, UsageError or Interrupted. When the port never answers, or on Ctrl-C while
    /// waiting for that, it says so on standard error and ENDS THE PROCESS: the thread that waits
    /// inside the library cannot be stopped.
    Connection(const ConnectionOptions& options, Interrupt& interrupt);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    CqHandle handle() const { return handle_; }
    const std::string& portName() const { return portName_; }

    CqDeviceInfo deviceInfo() const;
    CqInstrumentStatus status() const;
    void calibrateWhite() const;
    void calibrateBlack() const;
    CqMeasurementRecord measure(bool isStandard) const;

    /// Throws Interrupted when Ctrl-C has ended the call that gave this code, Failure for another
    /// result than CQ_NO_ERROR.
    void check(std::uint32_t code, Operation operation) const;

  private:
    Interrupt& interrupt_;
    std::unique_ptr<VirtualInstrument> virtualInstrument_;
    CqHandle handle_ = nullptr;
    std::string portName_;
    std::unique_ptr<Interrupt::Registration> closeOnInterrupt_;
};

}  // namespace cqtool

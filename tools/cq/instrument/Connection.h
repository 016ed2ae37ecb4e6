#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "cqapi/CQApi.h"
#include "Failure.h"
#include "instrument/PortWatch.h"
#include "instrument/VirtualInstrument.h"
#include "ResultText.h"
#include "system/Interrupt.h"

namespace cqtool {

/// Which instrument to use and how.
struct ConnectionOptions {
    std::string port;  ///< a wired instrument's; empty: the library finds it
    bool isWireless = false;
    std::string adapter;  ///< the port of a wireless instrument's adapter; empty: as above
    std::string slave;    ///< a wireless instrument's address; empty: the strongest signal
    bool useVirtual = false;
    /// As on a command line; nothing: calibrated, as most commands need it.
    std::optional<std::string> virtualOptions;
    std::optional<double> openTimeout;  ///< seconds; nothing: by the kind of connection
    bool writeDebugLog = false;
};

/// Starts the library's log if the options say so; throws Failure if it cannot be written.
void startDebugLog(const ConnectionOptions& options);

/// The virtual instrument or adapter that the options request; null if there is none.
std::unique_ptr<VirtualInstrument> startVirtual(const ConnectionOptions& options);

/// An open instrument, closed at the end of this object or by Ctrl-C, which makes a call that is
/// waiting return; so does a port that goes away.
class Connection {
  public:
    /// Opens, starting a virtual instrument first if asked to.
    /// Throws Failure, UsageError or Interrupted. If nothing answers in time, or on Ctrl-C while
    /// waiting, it says so on standard error and ENDS THE PROCESS: the thread that waits inside the
    /// library cannot be stopped.
    Connection(const ConnectionOptions& options, Interrupt& interrupt);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// While it lives, Ctrl-C does not close the connection: a running call is finished, and
    /// isInterrupted() is checked between calls. For work that must not be left half done.
    class KeepOpen {
      public:
        explicit KeepOpen(Connection& connection);
        ~KeepOpen();
        KeepOpen(const KeepOpen&) = delete;
        KeepOpen& operator=(const KeepOpen&) = delete;

      private:
        Connection& connection_;
    };

    CqHandle handle() const { return handle_; }
    /// The port of the instrument or, for a wireless one, of the adapter.
    const std::string& portName() const { return portName_; }
    bool isWireless() const { return isWireless_; }
    bool isInterrupted() const { return interrupt_.happened(); }

    CqDeviceInfo deviceInfo() const;
    CqInstrumentStatus status() const;
    void calibrateWhite() const;
    void calibrateBlack() const;
    CqMeasurementRecord measure(bool isStandard) const;

    /// The code, or CQ_DEVICE_IS_CLOSED for a call that failed because the port has gone.
    std::uint32_t reasonOf(std::uint32_t code) const;
    /// Throws Interrupted when Ctrl-C has ended the call that gave this code, Failure for another
    /// result than CQ_NO_ERROR.
    void check(std::uint32_t code, Operation operation) const;

  private:
    void closeOnInterrupt();

    Interrupt& interrupt_;
    std::unique_ptr<VirtualInstrument> virtualInstrument_;
    bool isWireless_;
    CqHandle handle_ = nullptr;
    std::string portName_;
    std::unique_ptr<Interrupt::Registration> closeOnInterrupt_;
    std::unique_ptr<PortWatch> watch_;
};

}  // namespace cqtool

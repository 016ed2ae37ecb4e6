#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "api/Deadline.h"
#include "ble/ReplyLines.h"
#include "ble/SlaveDevice.h"
#include "serial/SerialPort.h"

namespace ovk {

/// The adapter's port of this name, not yet open. A write to it that takes too long fails.
std::shared_ptr<SerialPort> makeAdapterPort(const std::string& portName);

/// Drives the adapter's EH-MC17 module with its AT commands: each operation is one exchange, the
/// scan and the configuration a short series. See docs/wireless-protocol.md.
///
/// Nothing here throws because of the module or the port: a reply that is missing or different
/// makes an operation answer false, or an empty text or list; nothing is tried again. One exchange
/// may run on a port at a time.
class EhMc17AtInterface {
  public:
    using SlaveDevice = ovk::SlaveDevice;
    using Lines = std::vector<std::string>;

    /// \param port the module's, open; without one no command is sent.
    explicit EhMc17AtInterface(std::shared_ptr<SerialPort> port = nullptr)
        : port_(std::move(port)) {}

    /// Takes another port; null detaches.
    void attachPort(std::shared_ptr<SerialPort> port) { port_ = std::move(port); }
    const std::shared_ptr<SerialPort>& port() const { return port_; }

    /// Waits for nothing after this moment, and sends nothing then.
    void setDeadline(Deadline deadline) { deadline_ = deadline; }

    /// True from a successful connect() to a successful disconnect().
    bool isConnected() const { return isConnected_; }

    /// Sends the command, with "=" and the argument if that is not empty, and collects the reply.
    /// \param lineCount so many lines are awaited.
    /// \param timeout by the cumulative rule, see CumulativeTimeout.
    /// \return the lines that have come in time: fewer than awaited, or more if they came together.
    Lines sendCommand(std::string_view command, std::string_view argument, std::size_t lineCount,
                      std::chrono::milliseconds timeout);

    /// Sets the code that lets commands through while a link is up.
    /// \param code hexadecimal digits; empty for the usual one.
    bool setExCode(std::string_view code);
    bool setExLength();
    bool setExMode();
    bool setBy();
    bool setMt();
    /// Empty if the module does not answer.
    std::string readAr();

    /// Listens for peripherals, in the order in which the module reports them.
    std::vector<SlaveDevice> scan();
    /// Asks for the results of a scan that the module has made by itself.
    std::vector<SlaveDevice> readScanResults();

    /// Links up with a peripheral; afterwards the port carries that one's bytes.
    bool connect(std::string_view address);
    bool disconnect();

    /// Drops a link left over from earlier use and sets the module up. True if it is set up, and so
    /// that there is a module at all.
    bool configure();

  private:
    std::string firstLine(std::string_view command, std::string_view argument,
                          std::chrono::milliseconds timeout);

    std::shared_ptr<SerialPort> port_;
    Deadline deadline_;
    bool isConnected_ = false;
};

}  // namespace ovk

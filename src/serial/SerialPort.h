#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "serial/OperationGate.h"

namespace ovk {

/// How a port is set up when it is opened. The numbers of stopBits and parity are those of a
/// Windows device control block: 0 is one stop bit, and no parity.
struct SerialPortSettings {
    std::uint32_t baudRate = 115200;
    std::uint32_t byteSize = 8;
    std::uint32_t stopBits = 0;
    std::uint32_t parity = 0;
    std::chrono::milliseconds readTimeout = std::chrono::milliseconds::max();
    std::chrono::milliseconds writeTimeout = std::chrono::milliseconds::max();
};

/// One serial port. Nothing here throws because of the port or the system: results are false, -1 or
/// empty, and lastError() holds the operating system's error number.
///
/// Error 2 says that the device is gone (unplugged, hung up), on every system; other numbers are
/// the system's own.
///
/// Threads: one may wait or read while another writes. close() may be called at any time; it wakes
/// the threads that wait inside and returns when they have left. open() and setPortName() must not
/// run beside other calls.
class SerialPort {
  public:
    static constexpr std::uint32_t kErrorDeviceGone = 2;
    /// Waits for as long as it takes.
    static constexpr auto kInfinite = std::chrono::milliseconds::max();
    /// How long exchange() waits: the shortest time-out that a terminal knows.
    static constexpr std::chrono::milliseconds kMoment{100};

    /// Touches no device.
    explicit SerialPort(std::string portName = {}, SerialPortSettings settings = {});
    /// Closes.
    ~SerialPort();
    SerialPort(const SerialPort&) = delete;
    SerialPort& operator=(const SerialPort&) = delete;

    const std::string& portName() const { return portName_; }
    void setPortName(std::string portName) { portName_ = std::move(portName); }

    /// Opens the port for this process alone, sets it up and empties its queues. False if it is
    /// open already or cannot be opened. A port whose device has gone is closed and opened anew.
    bool open();
    void close();
    /// True from a successful open() to close(), whether or not the device is still there.
    bool hasHandle() const;
    /// Asks the device. False without a handle or when the device is gone; any other trouble leaves
    /// it open.
    bool isOpen();

    /// Writes all the bytes. Returns how many were written, or -1.
    std::int32_t write(std::span<const std::uint8_t> bytes);
    /// Fills the buffer. Returns how many bytes were read, or -1.
    std::int32_t read(std::span<std::uint8_t> buffer);
    /// The bytes that have arrived and wait to be read; empty if there are none.
    std::vector<std::uint8_t> readAvailable();
    /// Reads what has arrived, as far as it fits into the buffer. Returns how many bytes; 0 if there
    /// are none, or on failure.
    std::size_t readSome(std::span<std::uint8_t> buffer);
    /// Writes all the bytes, if any, and reads the answer as readSome() does, for which it waits up to
    /// kMoment or until the device has gone. Made for answers that come at once: it costs the least
    /// of all ways to wait, and neither an abort nor close() ends it before its time.
    std::size_t exchange(std::span<const std::uint8_t> bytes, std::span<std::uint8_t> answer);
    /// How many bytes wait to be read; nothing if the port cannot tell.
    std::optional<std::size_t> queuedBytes();
    /// Throws away the bytes that wait to be read.
    void discardReceived();
    /// True as soon as bytes wait to be read; false when time is up, on an abort, and on errors.
    bool waitForData(std::chrono::milliseconds timeout);
    /// Reads up to a CR LF, which is not part of the result. When the time runs out, or the port is
    /// closed or its device gone, returns what has come. The whole time since the call began is
    /// taken off the remaining time after each wait, so that a line that trickles in gets less than
    /// `timeout`.
    std::string readLine(std::chrono::milliseconds timeout);

    /// Makes waitForData() return false, at once and from now on, until clearAbort().
    void signalAbort();
    void clearAbort();

    /// The system's number of the last failure, 0 after a success.
    std::uint32_t lastError() const { return lastError_.load(std::memory_order_relaxed); }
    void setLastError(std::uint32_t error) { lastError_.store(error, std::memory_order_relaxed); }

  private:
    struct Device;  // the system's handle and events: each backend's own

    /// Opens and sets up; on failure returns the error with nothing left open, else 0.
    std::uint32_t openDevice();

    std::string portName_;
    SerialPortSettings settings_;
    std::atomic<std::uint32_t> lastError_{0};
    OperationGate gate_;
    std::unique_ptr<Device> device_;
};

}  // namespace ovk

#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <shared_mutex>
#include <span>
#include <string>
#include <vector>

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
/// Threads: one may wait or read while another writes; two must not write at once. close() may be
/// called at any time; it wakes the threads that wait inside and returns when they have left. open(),
/// setPortName() and setWriteTimeout() must not run beside calls that they concern.
class SerialPort {
  public:
    static constexpr std::uint32_t kErrorDeviceGone = 2;
    /// Waits for as long as it takes.
    static constexpr auto kInfinite = std::chrono::milliseconds::max();

    /// Touches no device.
    explicit SerialPort(std::string portName = {}, SerialPortSettings settings = {});
    /// Closes.
    ~SerialPort();
    SerialPort(const SerialPort&) = delete;
    SerialPort& operator=(const SerialPort&) = delete;

    const std::string& portName() const { return portName_; }
    void setPortName(std::string portName) { portName_ = std::move(portName); }
    /// For the writes to come.
    void setWriteTimeout(std::chrono::milliseconds timeout) { settings_.writeTimeout = timeout; }

    /// Opens the port for this process alone, sets it up and empties its queues. False if it is
    /// open already or cannot be opened. A port whose device has gone is closed and opened anew.
    bool open();
    void close();
    /// True from a successful open() to close(), whether or not the device is still there.
    bool hasHandle() const { return hasHandle_.load(); }
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
    /// How many bytes wait to be read; nothing if the port cannot tell.
    std::optional<std::size_t> queuedBytes();
    /// Throws away the bytes that wait to be read.
    void discardReceived();
    /// True as soon as bytes wait to be read; false when time is up, on an abort, and on errors. A
    /// wait that the system refuses takes a moment all the same, so that a loop around it is not busy.
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

    /// Keeps the handle from being closed under the operation that holds it.
    using Use = std::shared_lock<std::shared_mutex>;
    Use use() { return Use(usage_); }

    /// Opens and sets up. Returns the error, else 0.
    std::uint32_t openDevice();
    /// Wakes whoever waits inside.
    void wakeAll();
    void closeDevice();

    std::string portName_;
    SerialPortSettings settings_;
    std::atomic<std::uint32_t> lastError_{0};
    std::shared_mutex usage_;  // shared by the operations, taken whole by close()
    std::atomic<bool> hasHandle_{false};
    std::unique_ptr<Device> device_;
};

}  // namespace ovk

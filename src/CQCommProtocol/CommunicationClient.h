#pragma once

#include <atomic>
#include <condition_variable>
#include <istream>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>

#include "CQCommProtocol/Link.h"
#include "serial/SerialPort.h"

namespace ovk {

/// Runs the wired protocol over a serial port: brings together the port, the link and their two
/// threads, one that receives and one that watches over the end of a session.
///
/// Every operation may be called from any thread; open() must not run beside others. The listener's
/// operations run with the link mutex held. See docs/architecture.md for the locks.
class CommunicationClient {
  public:
    using LinkLock = std::unique_lock<std::recursive_mutex>;

    /// \param listener must live as long as the client.
    explicit CommunicationClient(ICommunicationEventListener& listener);
    /// Closes.
    ~CommunicationClient();
    CommunicationClient(const CommunicationClient&) = delete;
    CommunicationClient& operator=(const CommunicationClient&) = delete;

    /// Opens the port and starts the threads. False if a port is open already or this one cannot be
    /// opened.
    bool open(const std::string& portName);

    /// Asks the instrument for a session; the answer goes to the listener.
    void shakeHands();

    /// Begins a transfer, see Link::send().
    /// \return 0; CQ_DEVICE_IS_CLOSED; CQ_NO_SESSION; CQ_DEVICE_IS_BUSY.
    ResultCode Send(std::uint8_t operation, std::span<const std::uint8_t> data,
                    std::shared_ptr<std::istream> stream = nullptr);

    /// Says goodbye, waits up to half a second for the answer, closes the port, and ends the
    /// threads and the session. \throw std::system_error when called on the receiving thread, which
    /// cannot wait for its own
    ///        end: the port is then closed, and close() or the destructor is still to be called on
    ///        another thread.
    void close();

    /// True while a port is open whose device is there.
    bool isConnected() const;
    bool hasSession() const;
    /// True on the receiving thread, as in the listener's operations.
    bool isReceivingThread() const;
    /// The open port's name; empty without one.
    std::string portName() const;

    /// Keeps the listener's operations from running while it is held.
    LinkLock lockLink() const { return LinkLock(linkMutex_); }

    void setRawDataListener(IRawDataListener* listener, bool isEnabled);

  private:
    std::shared_ptr<SerialPort> port() const;
    void setPort(std::shared_ptr<SerialPort> port);
    void receivingLoop(SerialPort& port);
    void takeIn(std::span<const std::uint8_t> bytes);
    void watchdogLoop();
    LinkLock lockLinkInTime() const;
    void sayGoodbye(SerialPort& port);
    void stopWatchdog();

    mutable std::mutex portMutex_;  // guards port_ alone
    std::shared_ptr<SerialPort> port_;

    ICommunicationEventListener& listener_;

    mutable std::recursive_mutex linkMutex_;
    std::condition_variable_any sessionEnded_;
    Link link_;

    std::mutex closeMutex_;  // guards the threads against two closes at once
    std::unique_ptr<std::thread> receivingThread_;
    std::unique_ptr<std::thread> watchdogThread_;
    std::atomic<std::thread::id> receivingThreadId_{};

    std::mutex watchdogMutex_;
    std::condition_variable watchdogStop_;
    bool watchdogMustStop_ = false;
};

}  // namespace ovk

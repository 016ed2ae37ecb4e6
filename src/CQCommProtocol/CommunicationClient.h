#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <istream>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>

#include "api/Deadline.h"
#include "CQCommProtocol/Link.h"
#include "serial/SerialPort.h"

namespace ovk {

/// Runs the wired protocol over a serial port: brings together the port, the link and their two
/// threads. The receive thread alone reads the port; the watchdog ends a goodbye that stays
/// unanswered. Whoever writes to the port holds the link mutex.
///
/// Every operation may be called from any thread; open() and close() must not run beside each
/// other. The listener's operations run on the receive thread, with the link mutex held.
class CommunicationClient {
  public:
    using TimePoint = Link::TimePoint;
    using LinkLock = std::unique_lock<std::recursive_mutex>;

    /// \param listener must live as long as the client.
    explicit CommunicationClient(ICommunicationEventListener& listener);
    /// Closes.
    ~CommunicationClient();
    CommunicationClient(const CommunicationClient&) = delete;
    CommunicationClient& operator=(const CommunicationClient&) = delete;

    /// Opens the port and starts the threads. False if a port is open already or this one cannot be
    /// opened.
    bool open(const std::string& portName, Deadline deadline = {});

    /// Asks the instrument for a session; the answer goes to the listener.
    void shakeHands();
    /// Asks again, unless the answer has come.
    void repeatShakeHands();
    /// Limits the writes to come: one that takes longer fails.
    void setWriteTimeout(std::chrono::milliseconds timeout);

    /// Begins a transfer, see Link::send().
    /// \return 0; CQ_DEVICE_IS_CLOSED; CQ_NO_SESSION, also when the device has gone;
    ///         CQ_DEVICE_IS_BUSY.
    ResultCode Send(std::uint8_t operation, std::span<const std::uint8_t> data,
                    std::shared_ptr<std::istream> stream = nullptr);

    /// Keeps the listener's operations from running while it is held. Empty when another thread has
    /// held the link until the deadline, or the port is closed meanwhile.
    LinkLock lockLink(Deadline deadline);

    /// Says goodbye, waits up to half a second for the answer, and closes the port. A running
    /// callback is waited for; a port that takes no bytes for half a second is closed without a
    /// goodbye, which frees whoever is stuck in a write.
    void closePort();
    /// Closes the port, and ends the threads and the session.
    /// \throw std::system_error on the receive thread, which cannot wait for its own end.
    void close();

    /// True while a port is open and its device is present.
    bool isConnected() { return port_.isOpen(); }
    bool hasSession() const;
    /// True while an answer to a shake-hands request is outstanding.
    bool awaitsShakeHands() const;
    /// The open port's name; empty without one.
    std::string portName() const;

    void setRawDataListener(IRawDataListener* listener, bool isEnabled);

  private:
    bool write(std::span<const std::uint8_t> bytes);
    bool isStuckInWrite(TimePoint since) const;
    void receivingLoop();
    void takeIn(std::span<const std::uint8_t> bytes);
    void tellWatchdog(bool& flag);
    void watchdogLoop();

    SerialPort port_;
    std::atomic<TimePoint> writingSince_{TimePoint::max()};  // max when nobody writes

    mutable std::recursive_mutex linkMutex_;  // guards the link and the writes to the port
    std::condition_variable_any sessionEnded_;
    Link link_;

    std::thread receivingThread_;
    std::thread watchdogThread_;
    std::mutex watchdogMutex_;  // guards what it is told
    std::condition_variable watchdogWake_;
    bool isGoodbyeSaid_ = false;
    bool watchdogMustStop_ = false;
};

}  // namespace ovk

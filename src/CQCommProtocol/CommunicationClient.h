#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <istream>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "CQCommProtocol/Link.h"
#include "CQCommProtocol/ReceivingTurn.h"
#include "serial/SerialPort.h"

namespace ovk {

/// Runs the wired protocol over a serial port: brings together the port, the link and their two
/// threads, one that receives and one that watches over the end of a session. A call that waits for
/// what the instrument sends receives in the receiving thread's place, see ReceivingTurn.
///
/// Every operation may be called from any thread; open() must not run beside others. The listener's
/// operations run on the thread that receives, with the link mutex held. See docs/architecture.md
/// for the locks.
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

    /// Waits until an operation of the listener has set `isOver` and receives meanwhile, unless
    /// another thread does. A device that goes away does not end the wait.
    /// \return isOver, false when the time is up.
    bool await(const std::atomic<bool>& isOver, std::chrono::milliseconds timeout);
    /// For who sets an `isOver` outside the listener's operations: makes the calls that wait look.
    void wakeCalls();

    /// Has the receiving thread run the task, with the link mutex held, or runs it now if this is
    /// the receiving thread. To be called by the listener's operations. What a port has brought is
    /// run before its closing ends. The task may take its time, or even wait for what a call is about
    /// to do that has its outcome.
    void runOnReceivingThread(std::function<void()> task);

    /// Says goodbye, waits up to half a second for the answer, closes the port, and ends the
    /// threads and the session. \throw std::system_error when called on the receiving thread, which
    /// cannot wait for its own
    ///        end: the port is then closed, and close() or the destructor is still to be called on
    ///        another thread.
    void close();

    /// True while a port is open whose device is there.
    bool isConnected() const;
    bool hasSession() const;
    /// True on the receiving thread, and so in a task that was given to it.
    bool isReceivingThread() const;
    /// The open port's name; empty without one.
    std::string portName() const;

    /// Keeps the listener's operations from running while it is held.
    LinkLock lockLink() const { return LinkLock(linkMutex_); }

    void setRawDataListener(IRawDataListener* listener, bool isEnabled);

  private:
    struct Line;

    std::shared_ptr<Line> line() const;
    void setLine(std::shared_ptr<Line> line);
    void receivingLoop(Line& line);
    bool receive(Line& line);
    bool receive(Line& line, const std::atomic<bool>& isOver, Link::TimePoint deadline);
    void takeIn(Line& line, const LinkLock& lock, Link::TimePoint time);
    static bool sendUnsent(Line& line);
    void takeInHoldingBack(Line& line, const LinkLock& lock, Link::TimePoint time);
    void runPosted();
    void watchdogLoop();
    LinkLock lockLinkUntil(Link::TimePoint deadline) const;
    void sayGoodbye(SerialPort& port);
    void stopWatchdog();

    mutable std::mutex lineMutex_;  // guards line_ alone
    std::shared_ptr<Line> line_;

    mutable std::recursive_mutex linkMutex_;
    std::condition_variable_any sessionEnded_;
    Link link_;
    // Where what the link sends is held back, instead of going to the port.
    std::vector<std::uint8_t>* heldBack_ = nullptr;

    ReceivingTurn turn_;
    std::mutex postedMutex_;  // guards posted_ alone
    std::vector<std::function<void()>> posted_;

    std::mutex closeMutex_;  // guards the threads against two closes at once
    std::unique_ptr<std::thread> receivingThread_;
    std::unique_ptr<std::thread> watchdogThread_;
    std::atomic<std::thread::id> receivingThreadId_{};

    std::mutex watchdogMutex_;
    std::condition_variable watchdogStop_;
    bool watchdogMustStop_ = false;
};

}  // namespace ovk

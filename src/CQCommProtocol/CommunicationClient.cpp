#include "CQCommProtocol/CommunicationClient.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <exception>
#include <system_error>
#include <utility>

#include "api/DebugLog.h"

namespace ovk {
namespace {

using namespace std::chrono_literals;

constexpr auto kWatchdogPeriod = 200ms;

constexpr int kGoodbyeRounds = 10;
constexpr auto kGoodbyeRound = 50ms;
/// How long a port may refuse bytes before it is closed without a goodbye.
constexpr auto kGoodbyePatience = 500ms;

/// How often a wait for the link checks whether it still makes sense.
constexpr auto kLinkRound = 20ms;

/// Mostly another call is just sending its request: worth a few looks before it is a pause.
constexpr int kLinkYields = 100;
constexpr auto kLinkPause = 1ms;

/// A line counts as quiet when nothing has arrived for this long.
constexpr auto kQuietTime = 20ms;
/// How long to wait for a line that never gets quiet.
constexpr auto kQuietPatience = 250ms;

/// What is taken from the port at once, in bytes: as much as a terminal holds.
constexpr std::size_t kReceiveBuffer = 4096;

Link::TimePoint now() {
    return std::chrono::steady_clock::now();
}

/// As try_lock_for() of a timed mutex, which the thread sanitizer does not see through.
bool lockWithin(CommunicationClient::LinkLock& lock, std::chrono::milliseconds time) {
    const auto deadline = Deadline::in(time);
    for (int attempt = 0; !lock.try_lock(); ++attempt) {
        if (deadline.isOver()) {
            return false;
        }
        if (attempt < kLinkYields) {
            std::this_thread::yield();
        } else {
            std::this_thread::sleep_for(kLinkPause);
        }
    }
    return true;
}

/// Throws away what the instrument is still sending to a host that was killed: the rest of a packet
/// could otherwise swallow the answer to the shake-hands.
void waitUntilQuiet(SerialPort& port, Deadline deadline) {
    const auto patience = Deadline::in(deadline.limit(kQuietPatience));
    while (!patience.isOver() && port.waitForData(patience.limit(kQuietTime))) {
        port.discardReceived();
    }
}

}  // namespace

CommunicationClient::CommunicationClient(ICommunicationEventListener& listener)
    : link_(listener, [this](std::span<const std::uint8_t> bytes) { return write(bytes); }) {}

CommunicationClient::~CommunicationClient() {
    close();
}

bool CommunicationClient::open(const std::string& portName, Deadline deadline) {
    if (isConnected()) {
        debuglog::write("A device has opened\n");
        return false;
    }
    close();  // what is left of a device that has gone
    port_.setPortName(portName);
    port_.setWriteTimeout(SerialPort::kInfinite);
    if (!port_.open()) {
        port_.close();
        debuglog::write("Open %s failed\r\n", portName.c_str());
        return false;
    }
    waitUntilQuiet(port_, deadline);
    assert(!receivingThread_.joinable() && "receiving_thread_ == nullptr");
    watchdogMustStop_ = false;
    isGoodbyeSaid_ = false;
    receivingThread_ = std::thread([this] { receivingLoop(); });
    watchdogThread_ = std::thread([this] { watchdogLoop(); });
    return true;
}

void CommunicationClient::shakeHands() {
    const LinkLock lock(linkMutex_);
    link_.shakeHands();
}

void CommunicationClient::repeatShakeHands() {
    const LinkLock lock(linkMutex_);
    link_.repeatShakeHands();
}

void CommunicationClient::setWriteTimeout(std::chrono::milliseconds timeout) {
    const LinkLock lock(linkMutex_);
    port_.setWriteTimeout(timeout);
}

ResultCode CommunicationClient::Send(std::uint8_t operation, std::span<const std::uint8_t> data,
                                     std::shared_ptr<std::istream> stream) {
    if (!port_.hasHandle()) {
        return CQ_DEVICE_IS_CLOSED;
    }
    if (!port_.isOpen()) {
        return CQ_NO_SESSION;
    }
    const LinkLock lock(linkMutex_);
    return link_.send(operation, data, std::move(stream), now());
}

CommunicationClient::LinkLock CommunicationClient::lockLink(Deadline deadline) {
    LinkLock lock(linkMutex_, std::defer_lock);
    while (!lockWithin(lock, deadline.limit(kLinkRound)) && !deadline.isOver() &&
           port_.hasHandle()) {
    }
    return lock;
}

void CommunicationClient::closePort() {
    const auto since = now();
    LinkLock lock(linkMutex_, std::defer_lock);
    while (!lockWithin(lock, kLinkRound) && !isStuckInWrite(since)) {
    }
    if (lock && port_.isOpen() && link_.hasSession()) {
        port_.setWriteTimeout(kGoodbyePatience);
        link_.requestDisconnect(now());
        tellWatchdog(isGoodbyeSaid_);
        for (int round = 0; round < kGoodbyeRounds && link_.hasSession() && port_.isOpen();
             ++round) {
            sessionEnded_.wait_for(lock, kGoodbyeRound, [this] { return !link_.hasSession(); });
        }
    }
    port_.close();
}

void CommunicationClient::close() {
    closePort();
    if (receivingThread_.get_id() == std::this_thread::get_id()) {
        throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
    }
    tellWatchdog(watchdogMustStop_);
    for (std::thread* thread : {&receivingThread_, &watchdogThread_}) {
        if (thread->joinable()) {
            thread->join();
        }
    }
    const LinkLock lock(linkMutex_);
    link_.endSession();
}

bool CommunicationClient::hasSession() const {
    const LinkLock lock(linkMutex_);
    return link_.hasSession();
}

bool CommunicationClient::awaitsShakeHands() const {
    const LinkLock lock(linkMutex_);
    return link_.awaitsShakeHands();
}

std::string CommunicationClient::portName() const {
    return port_.hasHandle() ? port_.portName() : std::string();
}

void CommunicationClient::setRawDataListener(IRawDataListener* listener, bool isEnabled) {
    const LinkLock lock(linkMutex_);
    link_.setRawDataListener(listener, isEnabled);
}

bool CommunicationClient::write(std::span<const std::uint8_t> bytes) {
    writingSince_.store(now());
    const bool isWritten = port_.write(bytes) >= 0;
    writingSince_.store(TimePoint::max());
    return isWritten;
}

/// True when the current write has run too long, counted from `since` at the earliest.
bool CommunicationClient::isStuckInWrite(TimePoint since) const {
    return std::max(writingSince_.load(), since) < now() - kGoodbyePatience;
}

void CommunicationClient::receivingLoop() {
    try {
        std::array<std::uint8_t, kReceiveBuffer> buffer;
        while (port_.isOpen()) {
            const bool hasData = port_.waitForData(SerialPort::kInfinite);
            if (const std::size_t count = hasData ? port_.readSome(buffer) : 0; count > 0) {
                takeIn(std::span(buffer).first(count));
            }
        }
    } catch (const std::exception& failure) {
        debuglog::write("receive thread failed: %s\n", failure.what());
        const LinkLock lock(linkMutex_);
        link_.endSession();
    }
}

void CommunicationClient::takeIn(std::span<const std::uint8_t> bytes) {
    const LinkLock lock(linkMutex_);
    link_.receive(bytes, now());
    if (!link_.hasSession()) {
        sessionEnded_.notify_all();
    }
}

void CommunicationClient::tellWatchdog(bool& flag) {
    {
        const std::lock_guard lock(watchdogMutex_);
        flag = true;
    }
    watchdogWake_.notify_all();
}

void CommunicationClient::watchdogLoop() {
    std::unique_lock lock(watchdogMutex_);
    // Until a goodbye is said there is nothing that could be late.
    watchdogWake_.wait(lock, [this] { return isGoodbyeSaid_ || watchdogMustStop_; });
    while (!watchdogWake_.wait_for(lock, kWatchdogPeriod, [this] { return watchdogMustStop_; })) {
        // Not held together with the link mutex: whoever holds that may be stopping this thread.
        lock.unlock();
        {
            const LinkLock link(linkMutex_);
            link_.watch(now());
        }
        lock.lock();
    }
}

}  // namespace ovk

#include "CQCommProtocol/CommunicationClient.h"

#include <array>
#include <cassert>
#include <chrono>
#include <system_error>
#include <utility>

#include "api/DebugLog.h"

namespace ovk {
namespace {

using namespace std::chrono_literals;

constexpr auto kWatchdogPeriod = 200ms;

constexpr int kGoodbyeRounds = 10;
constexpr auto kGoodbyeRound = 50ms;

/// How long a close waits for a callback or a stuck write before it goes on without a goodbye.
constexpr auto kLinkPatience = 500ms;
constexpr auto kLinkPollPause = 5ms;

/// A line counts as quiet when nothing has come for so long.
constexpr auto kQuietTime = 20ms;
/// How long to wait for a line that never gets quiet.
constexpr auto kQuietPatience = 250ms;

/// What is taken from the port at once, in bytes: as much as a terminal holds.
constexpr std::size_t kReceiveBuffer = 4096;

/// The pause after a wait that failed for another reason than a device that has gone.
constexpr auto kFailedWaitPause = 10ms;

Link::TimePoint now() {
    return std::chrono::steady_clock::now();
}

/// Throws away what the instrument is still sending to a host that was killed: the rest of a packet
/// could otherwise swallow the answer to the shake-hands.
void waitUntilQuiet(SerialPort& port) {
    const auto deadline = now() + kQuietPatience;
    while (now() < deadline && port.waitForData(kQuietTime)) {
        port.discardReceived();
    }
}

}  // namespace

CommunicationClient::CommunicationClient(ICommunicationEventListener& listener)
    : listener_(listener), link_(listener, [this](std::span<const std::uint8_t> bytes) {
          const auto open = port();
          return open != nullptr && open->write(bytes) >= 0;
      }) {}

CommunicationClient::~CommunicationClient() {
    close();
}

bool CommunicationClient::open(const std::string& portName) {
    if (isConnected()) {
        debuglog::write("A device has opened\n");
        return false;
    }
    close();  // what is left of a device that has gone
    const auto opened = std::make_shared<SerialPort>(portName);
    if (!opened->open()) {
        debuglog::write("Open %s failed\r\n", portName.c_str());
        return false;
    }
    waitUntilQuiet(*opened);
    setPort(opened);
    assert(receivingThread_ == nullptr && "receiving_thread_ == nullptr");
    watchdogMustStop_ = false;
    receivingThread_ = std::make_unique<std::thread>([this, opened] { receivingLoop(*opened); });
    watchdogThread_ = std::make_unique<std::thread>([this] { watchdogLoop(); });
    return true;
}

void CommunicationClient::shakeHands() {
    const LinkLock lock(linkMutex_);
    link_.shakeHands();
}

ResultCode CommunicationClient::Send(std::uint8_t operation, std::span<const std::uint8_t> data,
                                     std::shared_ptr<std::istream> stream) {
    if (!isConnected()) {
        return CQ_DEVICE_IS_CLOSED;
    }
    const LinkLock lock(linkMutex_);
    return link_.send(operation, data, std::move(stream), now());
}

void CommunicationClient::close() {
    if (const auto open = port()) {
        sayGoodbye(*open);
        open->close();
    }
    stopWatchdog();
    if (isReceivingThread()) {
        throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
    }
    // Not taken earlier: whoever holds it may be waiting for the receiving thread.
    const std::lock_guard closing(closeMutex_);
    if (receivingThread_) {
        receivingThread_->join();
        receivingThread_.reset();
    }
    if (watchdogThread_) {
        watchdogThread_->join();
        watchdogThread_.reset();
    }
    setPort(nullptr);
    const LinkLock lock(linkMutex_);
    link_.endSession();
}

/// Empty when somebody else has held the link mutex for too long.
CommunicationClient::LinkLock CommunicationClient::lockLinkInTime() const {
    const auto deadline = now() + kLinkPatience;
    LinkLock lock(linkMutex_, std::try_to_lock);
    while (!lock && now() < deadline) {
        std::this_thread::sleep_for(kLinkPollPause);
        lock.try_lock();
    }
    return lock;
}

void CommunicationClient::sayGoodbye(SerialPort& port) {
    LinkLock lock = lockLinkInTime();
    if (!lock || !port.isOpen() || !link_.hasSession()) {
        return;
    }
    link_.requestDisconnect(now());
    for (int round = 0; round < kGoodbyeRounds && link_.hasSession() && port.isOpen(); ++round) {
        sessionEnded_.wait_for(lock, kGoodbyeRound, [this] { return !link_.hasSession(); });
    }
}

bool CommunicationClient::isConnected() const {
    const auto open = port();
    return open != nullptr && open->isOpen();
}

bool CommunicationClient::hasSession() const {
    const LinkLock lock(linkMutex_);
    return link_.hasSession();
}

bool CommunicationClient::isReceivingThread() const {
    return receivingThreadId_.load() == std::this_thread::get_id();
}

std::string CommunicationClient::portName() const {
    const auto open = port();
    return open != nullptr ? open->portName() : std::string();
}

void CommunicationClient::setRawDataListener(IRawDataListener* listener, bool isEnabled) {
    const LinkLock lock(linkMutex_);
    link_.setRawDataListener(listener, isEnabled);
}

std::shared_ptr<SerialPort> CommunicationClient::port() const {
    const std::lock_guard lock(portMutex_);
    return port_;
}

void CommunicationClient::setPort(std::shared_ptr<SerialPort> port) {
    const std::lock_guard lock(portMutex_);
    port_.swap(port);
}

void CommunicationClient::receivingLoop(SerialPort& port) {
    receivingThreadId_.store(std::this_thread::get_id());
    std::array<std::uint8_t, kReceiveBuffer> buffer;
    std::size_t received = 0;
    // A device that has just sent something need not be asked whether it is there.
    while (port.hasHandle() && (received > 0 || port.isOpen())) {
        received = 0;
        if (!port.waitForData(SerialPort::kInfinite)) {
            if (port.hasHandle() && port.isOpen()) {
                std::this_thread::sleep_for(kFailedWaitPause);
            }
            continue;
        }
        received = port.readSome(buffer);
        if (received > 0) {
            takeIn(std::span(buffer).first(received));
        }
    }
    // The system may give the number of a thread that has ended to another one.
    receivingThreadId_.store(std::thread::id());
}

void CommunicationClient::takeIn(std::span<const std::uint8_t> bytes) {
    {
        const LinkLock lock(linkMutex_);
        link_.receive(bytes, now());
        if (!link_.hasSession()) {
            sessionEnded_.notify_all();
        }
    }
    listener_.stepEnded();
}

void CommunicationClient::watchdogLoop() {
    std::unique_lock lock(watchdogMutex_);
    while (!watchdogStop_.wait_for(lock, kWatchdogPeriod, [this] { return watchdogMustStop_; })) {
        // Not held together with the link mutex: whoever holds that may be stopping this thread.
        lock.unlock();
        {
            const LinkLock link(linkMutex_);
            link_.watch(now());
        }
        lock.lock();
    }
}

void CommunicationClient::stopWatchdog() {
    {
        const std::lock_guard lock(watchdogMutex_);
        watchdogMustStop_ = true;
    }
    watchdogStop_.notify_all();
}

}  // namespace ovk

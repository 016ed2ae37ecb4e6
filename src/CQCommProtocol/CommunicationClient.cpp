#include "CQCommProtocol/CommunicationClient.h"

#include <algorithm>
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
/// Mostly another call is just sending its request: worth a few looks before it is a pause.
constexpr int kLinkYields = 100;
constexpr auto kLinkPollPause = 2ms;

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

/// In whole milliseconds, none when it is past.
std::chrono::milliseconds timeUntil(Link::TimePoint deadline) {
    return std::max(std::chrono::ceil<std::chrono::milliseconds>(deadline - now()), 0ms);
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

/// An open port, what has been read from it and not taken in yet, and what an exchange is still to
/// send: the latter two belong to who has the turn to receive.
struct CommunicationClient::Line {
    explicit Line(const std::string& portName) : port(portName) {}

    SerialPort port;
    std::array<std::uint8_t, kReceiveBuffer> received{};
    std::size_t count = 0;
    std::vector<std::uint8_t> unsent;
};

CommunicationClient::CommunicationClient(ICommunicationEventListener& listener)
    : link_(listener, [this](std::span<const std::uint8_t> bytes) {
          if (heldBack_ != nullptr) {
              heldBack_->insert(heldBack_->end(), bytes.begin(), bytes.end());
              return true;
          }
          const auto open = line();
          return open != nullptr && open->port.write(bytes) >= 0;
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
    const auto opened = std::make_shared<Line>(portName);
    if (!opened->port.open()) {
        debuglog::write("Open %s failed\r\n", portName.c_str());
        return false;
    }
    waitUntilQuiet(opened->port);
    setLine(opened);
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
    if (const auto open = line()) {
        sayGoodbye(open->port);
        open->port.close();
        turn_.endReserve();
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
    setLine(nullptr);
    const LinkLock lock(linkMutex_);
    link_.endSession();
}

/// Empty when somebody else has held the link mutex for too long.
CommunicationClient::LinkLock CommunicationClient::lockLinkUntil(Link::TimePoint deadline) const {
    LinkLock lock(linkMutex_, std::try_to_lock);
    for (int attempt = 0; !lock && now() < deadline; ++attempt) {
        if (attempt < kLinkYields) {
            std::this_thread::yield();
        } else {
            std::this_thread::sleep_for(kLinkPollPause);
        }
        lock.try_lock();
    }
    return lock;
}

void CommunicationClient::sayGoodbye(SerialPort& port) {
    LinkLock lock = lockLinkUntil(now() + kLinkPatience);
    if (!lock || !port.isOpen() || !link_.hasSession()) {
        return;
    }
    link_.requestDisconnect(now());
    turn_.endReserve();
    for (int round = 0; round < kGoodbyeRounds && link_.hasSession() && port.isOpen(); ++round) {
        sessionEnded_.wait_for(lock, kGoodbyeRound, [this] { return !link_.hasSession(); });
    }
}

bool CommunicationClient::isConnected() const {
    const auto open = line();
    return open != nullptr && open->port.isOpen();
}

bool CommunicationClient::hasSession() const {
    const LinkLock lock(linkMutex_);
    return link_.hasSession();
}

bool CommunicationClient::isReceivingThread() const {
    return receivingThreadId_.load() == std::this_thread::get_id();
}

std::string CommunicationClient::portName() const {
    const auto open = line();
    return open != nullptr ? open->port.portName() : std::string();
}

void CommunicationClient::setRawDataListener(IRawDataListener* listener, bool isEnabled) {
    const LinkLock lock(linkMutex_);
    link_.setRawDataListener(listener, isEnabled);
}

std::shared_ptr<CommunicationClient::Line> CommunicationClient::line() const {
    const std::lock_guard lock(lineMutex_);
    return line_;
}

void CommunicationClient::setLine(std::shared_ptr<Line> line) {
    const std::lock_guard lock(lineMutex_);
    line_.swap(line);
}

void CommunicationClient::receivingLoop(Line& line) {
    receivingThreadId_.store(std::this_thread::get_id());
    for (bool isThere = line.port.isOpen(); isThere;) {
        const bool isMyTurn = turn_.takeForThread();
        runPosted();
        if (isMyTurn) {
            isThere = receive(line);
            turn_.leave();
        }
    }
    runPosted();
    // The system may give the number of a thread that has ended to another one.
    receivingThreadId_.store(std::thread::id());
}

/// The receiving thread's share: one step. False when the port has been closed or its device has
/// gone.
bool CommunicationClient::receive(Line& line) {
    if (line.count == 0 && line.port.waitForData(SerialPort::kInfinite)) {
        line.count = line.port.readSome(line.received);
    }
    if (line.count > 0) {
        takeIn(line, LinkLock(linkMutex_), now());
        return true;
    }
    line.port.clearAbort();
    const bool isThere = line.port.isOpen();
    if (isThere) {
        std::this_thread::sleep_for(kFailedWaitPause);
    }
    return isThere;
}

/// The share of a call that waits, which somebody else's hold on the link must not keep beyond its
/// time. False as above.
///
/// Within a transfer, between what is sent and the wait for the answer nothing else is done: the
/// instrument is woken by the one, and what this thread then still does keeps a processor from it.
bool CommunicationClient::receive(Line& line, const std::atomic<bool>& isOver,
                                  Link::TimePoint deadline) {
    SerialPort& port = line.port;
    for (auto time = now(); !isOver.load() && time < deadline;) {
        if (line.count == 0 && deadline - time > SerialPort::kMoment) {
            line.count = port.exchange(line.unsent, line.received);
            line.unsent.clear();
        }
        if (line.count == 0 && sendUnsent(line) && port.waitForData(timeUntil(deadline))) {
            line.count = port.readSome(line.received);
        }
        time = now();
        if (line.count > 0) {
            if (const LinkLock lock = lockLinkUntil(deadline)) {
                takeInHoldingBack(line, lock, time);
            }
            turn_.wakeOtherCalls();
            continue;
        }
        port.clearAbort();
        if (!port.isOpen()) {
            return false;
        }
        if (!isOver.load() && time < deadline) {
            std::this_thread::sleep_for(kFailedWaitPause);
        }
    }
    sendUnsent(line);
    return true;
}

void CommunicationClient::takeIn(Line& line, const LinkLock& /*held*/, Link::TimePoint time) {
    const std::size_t count = std::exchange(line.count, 0);
    if (!line.port.hasHandle()) {
        return;  // closed, and another one may have been opened since
    }
    link_.receive(std::span(line.received).first(count), time);
    if (!link_.hasSession()) {
        sessionEnded_.notify_all();
    }
}

/// What the link sends in a transfer is left to the exchange that follows: nobody else can send
/// meanwhile, but for a goodbye, which may overtake it.
void CommunicationClient::takeInHoldingBack(Line& line, const LinkLock& held,
                                            Link::TimePoint time) {
    struct HoldingBack {
        CommunicationClient& client;
        ~HoldingBack() { client.heldBack_ = nullptr; }
    };
    {
        const HoldingBack holdingBack{*this};
        heldBack_ = &line.unsent;
        takeIn(line, held, time);
    }
    if (!link_.isTransferring()) {
        sendUnsent(line);
    }
}

bool CommunicationClient::sendUnsent(Line& line) {
    const bool isSent = line.unsent.empty() || line.port.write(line.unsent) >= 0;
    line.unsent.clear();
    return isSent;
}

bool CommunicationClient::await(const std::atomic<bool>& isOver,
                                std::chrono::milliseconds timeout) {
    const auto deadline = now() + timeout;
    const auto open = line();
    // In the callback the receiving thread is in the middle of a step.
    if (open == nullptr || isReceivingThread()) {
        return turn_.await(isOver, deadline, nullptr);
    }
    return turn_.await(isOver, deadline, [&] { return receive(*open, isOver, deadline); });
}

void CommunicationClient::wakeCalls() {
    turn_.wakeCalls();
    const auto open = line();
    if (open != nullptr && turn_.isWithCall()) {
        open->port.signalAbort();
    }
}

void CommunicationClient::runOnReceivingThread(std::function<void()> task) {
    if (isReceivingThread()) {
        turn_.wakeCalls();
        task();
        return;
    }
    {
        const std::lock_guard lock(postedMutex_);
        posted_.push_back(std::move(task));
    }
    turn_.wakeThread();
}

void CommunicationClient::runPosted() {
    std::vector<std::function<void()>> tasks;
    {
        const std::lock_guard lock(postedMutex_);
        tasks.swap(posted_);
    }
    for (const auto& task : tasks) {
        const LinkLock lock(linkMutex_);
        task();
    }
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

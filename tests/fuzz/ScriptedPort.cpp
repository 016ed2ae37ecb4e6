// A third backend of SerialPort, beside the two systems': what the library writes goes to a
// PortPeer, and what that answers is there to be read. A wait without a limit blocks until then, all
// others end at once.

#include "fuzz/ScriptedPort.h"

#include <condition_variable>
#include <deque>
#include <mutex>

#include "serial/SerialPort.h"

namespace ovk {
namespace {

fuzz::PortPeer* currentPeer = nullptr;

constexpr std::uint32_t kErrorNotOpen = 9;

}  // namespace

namespace fuzz {

void setPortPeer(PortPeer* peer) {
    currentPeer = peer;
}

}  // namespace fuzz

struct SerialPort::Device {
    void queue(const fuzz::Bytes& bytes) {
        queued.insert(queued.end(), bytes.begin(), bytes.end());
    }

    std::mutex mutex;  // guards all that follows, and calls of the peer
    std::condition_variable changed;
    std::deque<std::uint8_t> queued;
    bool isClosing = false;
    bool isAborting = false;
};

SerialPort::SerialPort(std::string portName, SerialPortSettings settings)
    : portName_(std::move(portName)), settings_(settings), device_(std::make_unique<Device>()) {}

SerialPort::~SerialPort() {
    close();
}

std::uint32_t SerialPort::openDevice() {
    device_->isClosing = false;
    return currentPeer != nullptr ? 0 : kErrorDeviceGone;
}

void SerialPort::close() {
    if (!gate_.shut()) {
        return;
    }
    {
        const std::lock_guard lock(device_->mutex);
        device_->isClosing = true;
    }
    device_->changed.notify_all();
    gate_.waitUntilEmpty();
}

bool SerialPort::isOpen() {
    return gate_.isOpen();
}

std::int32_t SerialPort::write(std::span<const std::uint8_t> bytes) {
    const OperationGate::Pass pass(gate_);
    if (!pass) {
        setLastError(kErrorNotOpen);
        return -1;
    }
    {
        const std::lock_guard lock(device_->mutex);
        device_->queue(currentPeer->answer(bytes));
    }
    device_->changed.notify_all();
    return static_cast<std::int32_t>(bytes.size());
}

std::int32_t SerialPort::read(std::span<std::uint8_t> buffer) {
    if (queuedBytes().value_or(0) < buffer.size()) {
        setLastError(kErrorNotOpen);
        return -1;
    }
    return static_cast<std::int32_t>(readSome(buffer));
}

std::size_t SerialPort::readSome(std::span<std::uint8_t> buffer) {
    const OperationGate::Pass pass(gate_);
    if (!pass) {
        return 0;
    }
    const std::lock_guard lock(device_->mutex);
    auto& queued = device_->queued;
    const std::size_t count = std::min(buffer.size(), queued.size());
    const auto end = queued.begin() + static_cast<std::ptrdiff_t>(count);
    std::copy(queued.begin(), end, buffer.begin());
    queued.erase(queued.begin(), end);
    return count;
}

std::size_t SerialPort::exchange(std::span<const std::uint8_t> bytes,
                                 std::span<std::uint8_t> answer) {
    const bool isWritten = bytes.empty() || write(bytes) >= 0;
    return isWritten && waitForData(kMoment) ? readSome(answer) : 0;
}

std::optional<std::size_t> SerialPort::queuedBytes() {
    const OperationGate::Pass pass(gate_);
    if (!pass) {
        return std::nullopt;
    }
    const std::lock_guard lock(device_->mutex);
    return device_->queued.size();
}

void SerialPort::discardReceived() {
    const std::lock_guard lock(device_->mutex);
    device_->queued.clear();
}

bool SerialPort::waitForData(std::chrono::milliseconds timeout) {
    const OperationGate::Pass pass(gate_);
    if (!pass) {
        setLastError(kErrorNotOpen);
        return false;
    }
    setLastError(0);
    std::unique_lock lock(device_->mutex);
    auto& queued = device_->queued;
    if (timeout == kInfinite) {
        device_->changed.wait(lock, [this] {
            return !device_->queued.empty() || device_->isClosing || device_->isAborting;
        });
    } else if (queued.empty()) {
        device_->queue(currentPeer->duringWait(timeout));
    }
    return !queued.empty() && !device_->isClosing && !device_->isAborting;
}

void SerialPort::signalAbort() {
    {
        const std::lock_guard lock(device_->mutex);
        device_->isAborting = true;
    }
    device_->changed.notify_all();
}

void SerialPort::clearAbort() {
    const std::lock_guard lock(device_->mutex);
    device_->isAborting = false;
}

}  // namespace ovk

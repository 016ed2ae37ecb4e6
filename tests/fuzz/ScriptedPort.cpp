// A third backend of SerialPort, beside the two systems': what the library writes goes to a
// PortPeer, and what that answers is there to be read. No wait takes time. For a program of one
// thread.

#include "fuzz/ScriptedPort.h"

#include <deque>

#include "serial/SerialPort.h"

namespace ovk {
namespace {

fuzz::PortPeer* currentPeer = nullptr;

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

    std::deque<std::uint8_t> queued;
};

SerialPort::SerialPort(std::string portName, SerialPortSettings settings)
    : portName_(std::move(portName)), settings_(settings), device_(std::make_unique<Device>()) {}

SerialPort::~SerialPort() {
    close();
}

std::uint32_t SerialPort::openDevice() {
    hasHandle_.store(currentPeer != nullptr);
    return hasHandle() ? 0 : kErrorDeviceGone;
}

void SerialPort::wakeAll() {}

void SerialPort::closeDevice() {}

bool SerialPort::isOpen() {
    return hasHandle();
}

std::int32_t SerialPort::write(std::span<const std::uint8_t> bytes) {
    device_->queue(currentPeer->answer(bytes));
    return static_cast<std::int32_t>(bytes.size());
}

std::int32_t SerialPort::read(std::span<std::uint8_t> buffer) {
    const bool isThere = device_->queued.size() >= buffer.size();
    return isThere ? static_cast<std::int32_t>(readSome(buffer)) : -1;
}

std::size_t SerialPort::readSome(std::span<std::uint8_t> buffer) {
    auto& queued = device_->queued;
    const std::size_t count = std::min(buffer.size(), queued.size());
    const auto end = queued.begin() + static_cast<std::ptrdiff_t>(count);
    std::copy(queued.begin(), end, buffer.begin());
    queued.erase(queued.begin(), end);
    return count;
}

std::optional<std::size_t> SerialPort::queuedBytes() {
    return device_->queued.size();
}

void SerialPort::discardReceived() {
    device_->queued.clear();
}

bool SerialPort::waitForData(std::chrono::milliseconds timeout) {
    if (device_->queued.empty()) {
        device_->queue(currentPeer->duringWait(timeout));
    }
    return !device_->queued.empty();
}

void SerialPort::signalAbort() {}

void SerialPort::clearAbort() {}

}  // namespace ovk

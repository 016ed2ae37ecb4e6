#include "ble/BleDongleDevice.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "api/CommunicationException.h"
#include "serial/PortDiscovery.h"

namespace ovk {
namespace {

/// What is taken for the signal strength of a slave that was not scanned for, in dBm.
constexpr std::int32_t kAssumedRssi = -50;

}  // namespace

void BleDongleDevice::open(const std::string& portName) {
    stopReceiving();
    at_ = EhMc17AtInterface();
    if (portName.empty()) {
        search();
    } else {
        openNamed(portName);
    }
    if (!at_.configure()) {
        at_.attachPort(nullptr);
        throw CommunicationException(CQ_UNKNOWN_ERROR);
    }
    arText_ = at_.readAr();
}

void BleDongleDevice::openNamed(const std::string& portName) {
    const auto port = std::make_shared<SerialPort>(portName);
    if (!port->open()) {
        throw CommunicationException(CQ_FAIL_TO_OPEN);
    }
    at_.attachPort(port);
}

void BleDongleDevice::search() {
    std::vector<std::uint32_t> numbers;
    findCh340Ports(numbers);
    for (const std::uint32_t number : numbers) {
        const auto port = std::make_shared<SerialPort>(ch340PortName(number));
        if (!port->open()) {
            continue;
        }
        at_.attachPort(port);
        if (at_.configure()) {
            break;
        }
        at_.attachPort(nullptr);  // the port closes as its last owner goes
    }
    if (at_.port() == nullptr || !at_.port()->isOpen()) {
        at_.attachPort(nullptr);
        throw CommunicationException(CQ_CANNOT_FOUND_DEVICE);
    }
}

void BleDongleDevice::connect(const std::string& address) {
    if (at_.port() == nullptr) {
        throw CommunicationException(CQ_DEVICE_IS_CLOSED);
    }
    if (at_.isConnected()) {
        stopReceiving();  // the receiving thread would take the module's answers
        at_.disconnect();
    }
    const SlaveDevice target =
        address.empty() ? strongestSlave() : SlaveDevice{"", address, kAssumedRssi};
    if (!at_.connect(target.address)) {
        throw CommunicationException(CQ_UNKNOWN_ERROR);
    }
    startReceiving(at_.port());
    connectedSlave_ = target;
}

BleDongleDevice::SlaveDevice BleDongleDevice::strongestSlave() {
    const auto slaves = at_.scan();
    if (slaves.empty()) {
        throw CommunicationException(CQ_CANNOT_FOUND_DEVICE);
    }
    return *std::ranges::max_element(slaves, {}, &SlaveDevice::rssi);  // of equal ones the first
}

}  // namespace ovk

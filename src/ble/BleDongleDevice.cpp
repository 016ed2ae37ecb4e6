#include "ble/BleDongleDevice.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "api/CommunicationException.h"
#include "serial/PortDiscovery.h"

namespace ovk {

void BleDongleDevice::open(const std::string& portName) {
    stopReceiving();
    at_ = EhMc17AtInterface();
    at_.setDeadline(deadline_);
    if (portName.empty()) {
        search();
    } else {
        openNamed(portName);
    }
    if (!at_.configure()) {
        at_.attachPort(nullptr);
        throw CommunicationException(CQ_UNKNOWN_ERROR);
    }
    at_.readAr();
}

void BleDongleDevice::openNamed(const std::string& portName) {
    const auto port = makeAdapterPort(portName);
    if (!port->open()) {
        throw CommunicationException(CQ_FAIL_TO_OPEN);
    }
    at_.attachPort(port);
}

void BleDongleDevice::search() {
    std::vector<std::uint32_t> numbers;
    findCh340Ports(numbers);
    for (std::size_t left = numbers.size(); left > 0; --left) {
        const auto port = makeAdapterPort(ch340PortName(numbers[numbers.size() - left]));
        if (!port->open()) {
            continue;
        }
        at_.attachPort(port);
        at_.setDeadline(deadline_.firstOf(left));
        if (at_.configure()) {
            break;
        }
        at_.attachPort(nullptr);  // the port closes as its last owner goes
    }
    at_.setDeadline(deadline_);
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
        stopReceiving();  // the receive thread would take the module's answers
        at_.disconnect();
    }
    const std::string target = address.empty() ? strongestSlave().address : address;
    at_.setDeadline(deadline_.before(kUnlinkTime));
    const bool isLinked = at_.connect(target);
    at_.setDeadline(deadline_);
    if (!isLinked) {
        if (deadline_.before(kUnlinkTime).isOver()) {  // it may come to be linked after all
            at_.setExCode({});
            at_.disconnect();
            throw CommunicationException(CQ_RECEIVING_TIMEOUT);
        }
        throw CommunicationException(CQ_UNKNOWN_ERROR);
    }
    startReceiving(at_.port());
}

BleDongleDevice::SlaveDevice BleDongleDevice::strongestSlave() {
    const auto slaves = at_.scan();
    if (slaves.empty()) {
        throw CommunicationException(CQ_CANNOT_FOUND_DEVICE);
    }
    return *std::ranges::max_element(slaves, {}, &SlaveDevice::rssi);  // of equal ones the first
}

}  // namespace ovk

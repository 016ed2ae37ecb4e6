#include "ble/PacketReceiver.h"

#include <utility>

#include "api/CommunicationException.h"
#include "api/DebugLog.h"
#include "ble/PacketAssembler.h"

namespace ovk {

PacketReceiver::~PacketReceiver() {
    if (thread_.joinable()) {
        stopReceiving();
    }
}

void PacketReceiver::startReceiving(const std::shared_ptr<SerialPort>& port) {
    stopReceiving();
    mustStop_.store(false);
    {
        const std::lock_guard lock(stateMutex_);
        port_ = port;
        isLastSent_ = false;
    }
    thread_ = std::thread([this, port] { receivingLoop(*port); });
}

std::shared_ptr<SerialPort> PacketReceiver::stopReceiving() {
    auto held = port();
    if (held == nullptr) {
        return nullptr;
    }
    mustStop_.store(true);
    held->signalAbort();
    abandonExpectedReply();  // not left to the thread: it may be in the handler
    thread_.join();
    {
        const std::lock_guard lock(stateMutex_);
        port_.reset();
    }
    abandonExpectedReply();
    held->clearAbort();
    return held;
}

PacketReceiver::Packet PacketReceiver::sendPacket(const CQBleProtocol::CmdPacket& request,
                                                  std::chrono::milliseconds timeout) {
    return exchange(request, timeout, false);
}

PacketReceiver::Packet PacketReceiver::sendLastPacket(const CQBleProtocol::CmdPacket& request,
                                                      std::chrono::milliseconds timeout) {
    return exchange(request, timeout, true);
}

PacketReceiver::Packet PacketReceiver::exchange(const CQBleProtocol::CmdPacket& request,
                                                std::chrono::milliseconds timeout, bool isLast) {
    try {
        auto reply = begin(request, isLast);
        debuglog::write("waiting receiving packet... (timeout = %dms)\r\n",
                        static_cast<int>(timeout.count()));
        if (reply.wait_for(timeout) != std::future_status::ready) {
            debuglog::write("received packet timeout.\r\n");
            throw CommunicationException(CQ_RECEIVING_TIMEOUT);
        }
        debuglog::write("received the packet.\r\n");
        auto packet = reply.get();
        if (packet == nullptr) {
            throw CommunicationException(CQ_DEVICE_IS_CLOSED, "serial port detached");
        }
        return packet;
    } catch (const CommunicationException& exception) {
        debuglog::write("sendPacket: %s.\r\n", exception.what());
        throw;
    }
}

std::future<PacketReceiver::Packet> PacketReceiver::begin(const CQBleProtocol::CmdPacket& request,
                                                          bool isLast) {
    const std::lock_guard lock(stateMutex_);
    if (port_ == nullptr || isLastSent_ || !port_->isOpen()) {
        throw CommunicationException(CQ_DEVICE_IS_CLOSED);
    }
    isLastSent_ = isLast;
    auto reply = expectedReply_.emplace().get_future();
    if (port_->write(request.bytes()) < 0) {
        throw CommunicationException(CQ_SYSTEM_ERROR);
    }
    return reply;
}

std::shared_ptr<SerialPort> PacketReceiver::port() const {
    const std::lock_guard lock(stateMutex_);
    return port_;
}

std::optional<std::promise<PacketReceiver::Packet>> PacketReceiver::takeExpectedReply() {
    const std::lock_guard lock(stateMutex_);
    return std::exchange(expectedReply_, std::nullopt);
}

void PacketReceiver::abandonExpectedReply() {
    if (auto reply = takeExpectedReply()) {
        reply->set_value(nullptr);
    }
}

void PacketReceiver::receivingLoop(SerialPort& port) {
    debuglog::write("Start receiving_thread\r\n");
    try {
        while (port.isOpen() && !mustStop_.load()) {
            if (const auto packet = readPacket(port)) {
                debuglog::write("received a packet: %d,%d\r\n", packet->type(), packet->cmd());
                dispatch(packet);
            }
        }
    } catch (...) {
        // A request that waits, or was sent meanwhile, ends with it.
        if (auto reply = takeExpectedReply()) {
            reply->set_exception(std::current_exception());
        }
    }
    debuglog::write("End receiving_thread\r\n");
}

PacketReceiver::Packet PacketReceiver::readPacket(SerialPort& port) const {
    PacketAssembler assembler;
    while (port.waitForData(SerialPort::kInfinite) && !mustStop_.load()) {
        const auto now = std::chrono::steady_clock::now();
        if (auto packet = assembler.feed(port.readAvailable(), now)) {
            return packet;
        }
    }
    return nullptr;
}

void PacketReceiver::dispatch(const Packet& packet) {
    if (auto reply = takeExpectedReply()) {
        reply->set_value(packet);
    } else {
        packetHandler_.call(packet);
    }
}

}  // namespace ovk

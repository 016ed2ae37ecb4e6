#include "ble/PacketReceiver.h"

#include <system_error>
#include <utility>

#include "api/CommunicationException.h"
#include "api/DebugLog.h"
#include "ble/PacketAssembler.h"

namespace ovk {
namespace {

using namespace std::chrono_literals;

/// The pause after a wait that failed for another reason than a device that has gone.
constexpr auto kFailedWaitPause = 10ms;

}  // namespace

PacketReceiver::~PacketReceiver() {
    if (thread_.joinable()) {
        stopReceiving();
    }
}

void PacketReceiver::startReceiving(const std::shared_ptr<SerialPort>& port) {
    refuseReceivingThread();
    const std::lock_guard lifecycle(lifecycleMutex_);
    stop();
    mustStop_.store(false);
    {
        const std::lock_guard lock(stateMutex_);
        port_ = port;
    }
    thread_ = std::thread([this, port] { receivingLoop(*port); });
}

std::shared_ptr<SerialPort> PacketReceiver::stopReceiving() {
    refuseReceivingThread();
    const std::lock_guard lifecycle(lifecycleMutex_);
    return stop();
}

void PacketReceiver::refuseReceivingThread() {
    // Asked before any lock: another thread may hold it and wait for this one to end.
    if (isReceivingThread()) {
        requestStop(*port());
        throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
    }
}

std::shared_ptr<SerialPort> PacketReceiver::stop() {
    auto held = port();
    if (held == nullptr) {
        return nullptr;
    }
    requestStop(*held);
    thread_.join();
    {
        const std::lock_guard lock(stateMutex_);
        port_.reset();
    }
    // Once more: the thread may have ended before, with the device, and left a request waiting.
    abandonExpectedReply();
    held->clearAbort();
    return held;
}

void PacketReceiver::requestStop(SerialPort& port) {
    mustStop_.store(true);
    port.signalAbort();
}

PacketReceiver::Packet PacketReceiver::sendPacket(const CQBleProtocol::CmdPacket& request,
                                                  std::chrono::milliseconds timeout) {
    const auto held = port();
    if (held == nullptr || !held->isOpen()) {
        throw CommunicationException(CQ_DEVICE_IS_CLOSED);
    }
    auto reply = expectReply();
    try {
        if (held->write(request.bytes()) < 0) {
            throw CommunicationException(CQ_SYSTEM_ERROR);
        }
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

void PacketReceiver::setPacketHandler(PacketHandler handler) {
    packetHandler_.set(std::move(handler));
}

std::shared_ptr<SerialPort> PacketReceiver::port() const {
    const std::lock_guard lock(stateMutex_);
    return port_;
}

std::future<PacketReceiver::Packet> PacketReceiver::expectReply() {
    const std::lock_guard lock(stateMutex_);
    if (port_ == nullptr) {
        throw CommunicationException(CQ_DEVICE_IS_CLOSED);  // stopped since it was asked
    }
    return expectedReply_.emplace().get_future();
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
    threadId_.store(std::this_thread::get_id());
    debuglog::write("Start receiving_thread\r\n");
    try {
        while (port.isOpen() && !mustStop_.load()) {
            if (const auto packet = readPacket(port)) {
                debuglog::write("received a packet: %d,%d\r\n", packet->type(), packet->cmd());
                dispatch(packet);
            }
        }
        if (mustStop_.load()) {
            abandonExpectedReply();
        }
    } catch (...) {
        // Whatever the handler has thrown: a request that was sent meanwhile ends with it.
        if (auto reply = takeExpectedReply()) {
            reply->set_exception(std::current_exception());
        }
    }
    debuglog::write("End receiving_thread\r\n");
    threadId_.store({});  // the system may give the identifier to another thread
}

PacketReceiver::Packet PacketReceiver::readPacket(SerialPort& port) const {
    PacketAssembler assembler;
    while (port.waitForData(SerialPort::kInfinite)) {
        if (mustStop_.load()) {
            return nullptr;
        }
        const auto now = std::chrono::steady_clock::now();
        const auto bytes = port.readAvailable();
        if (bytes.empty()) {
            std::this_thread::sleep_for(kFailedWaitPause);
        }
        if (auto packet = assembler.feed(bytes, now)) {
            return packet;
        }
    }
    if (!mustStop_.load() && port.isOpen()) {
        std::this_thread::sleep_for(kFailedWaitPause);
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

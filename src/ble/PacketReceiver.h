#pragma once

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "api/HandlerSlot.h"
#include "ble/CmdPacket.h"
#include "serial/SerialPort.h"

namespace ovk {

/// Carries command packets over a port that is connected to an instrument: one thread receives, a
/// request waits for the packet that arrives next, and packets that no request waits for go to the
/// packet handler.
///
/// Threads: every operation may be called from any thread, startReceiving() and stopReceiving() not
/// beside each other. There is one pending reply: of two requests at a time the earlier one loses
/// its reply to the later.
class PacketReceiver {
  public:
    using Packet = std::shared_ptr<const CQBleProtocol::CmdPacket>;
    using PacketHandler = HandlerSlot<const Packet&>::Handler;

    PacketReceiver() = default;
    /// Stops receiving. Not on the receive thread, which would end the process.
    ~PacketReceiver();
    PacketReceiver(const PacketReceiver&) = delete;
    PacketReceiver& operator=(const PacketReceiver&) = delete;

    /// Starts the receive thread, from now on the port's only reader. If a port is held already,
    /// stops receiving from that first.
    /// \param port must not be null.
    void startReceiving(const std::shared_ptr<SerialPort>& port);

    /// Ends the receive thread; a request that waits ends with "serial port detached".
    /// \return the port, open and usable; null if none is held.
    /// \throw std::system_error on the receive thread, which cannot wait for its own end
    ///        (resource_deadlock_would_occur), and when a port is held but no thread was started
    ///        (invalid_argument).
    std::shared_ptr<SerialPort> stopReceiving();

    /// Sends the request and waits for the next packet, whatever it is: nothing in a reply says
    /// what it replies to. One that arrives after the timeout is dropped, not given to the handler.
    /// \throw CommunicationException CQ_DEVICE_IS_CLOSED: no port, its device is gone, or receiving
    ///        was stopped; CQ_SYSTEM_ERROR: not written; CQ_RECEIVING_TIMEOUT.
    /// \throw std::future_error (broken_promise) another request has taken this one's place.
    Packet sendPacket(const CQBleProtocol::CmdPacket& request, std::chrono::milliseconds timeout);
    /// As sendPacket(), for the goodbye: takes the place of a request that waits, and every later
    /// one is refused with CQ_DEVICE_IS_CLOSED until receiving is started anew.
    Packet sendLastPacket(const CQBleProtocol::CmdPacket& request,
                          std::chrono::milliseconds timeout);

    /// Sets what is called, on the receive thread, with packets that no request waits for. It
    /// must not call sendPacket(). When this returns an earlier handler has ended, unless it is
    /// that handler itself that calls.
    void setPacketHandler(PacketHandler handler) { packetHandler_.set(std::move(handler)); }

    /// The port that is held; null if none is.
    std::shared_ptr<SerialPort> port() const;

  private:
    Packet exchange(const CQBleProtocol::CmdPacket& request, std::chrono::milliseconds timeout,
                    bool isLast);
    /// Notes down that a reply is expected, and writes the request.
    std::future<Packet> begin(const CQBleProtocol::CmdPacket& request, bool isLast);
    std::optional<std::promise<Packet>> takeExpectedReply();
    void abandonExpectedReply();

    void receivingLoop(SerialPort& port);
    Packet readPacket(SerialPort& port) const;
    void dispatch(const Packet& packet);

    mutable std::mutex stateMutex_;  // guards the next three, and the writes to the port
    std::shared_ptr<SerialPort> port_;
    bool isLastSent_ = false;
    /// Set from a request until the next packet arrives, even past the timeout, so that a late reply
    /// is told from a notification. A null reply means that receiving was stopped.
    std::optional<std::promise<Packet>> expectedReply_;

    HandlerSlot<const Packet&> packetHandler_;
    std::thread thread_;
    std::atomic<bool> mustStop_{false};
};

}  // namespace ovk

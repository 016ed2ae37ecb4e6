#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <thread>
#include <utility>

#include "peer/Descriptor.h"
#include "peer/Packets.h"

namespace cqbench {

/// An instrument on a pseudo-terminal that does as little as an instrument can: it checks nothing
/// and answers from packets that it has built once. What a host measures against it is the host's
/// own time and the system's.
///
/// Serves one host at a time, on a thread of its own.
class ScriptedInstrument {
  public:
    using Clock = std::chrono::steady_clock;

    /// \param maxPacket the largest packet, for both directions.
    /// \param latency what the line takes to carry bytes, each way.
    /// \throw std::system_error without a pseudo-terminal.
    explicit ScriptedInstrument(std::uint16_t maxPacket, std::chrono::microseconds latency = {});
    /// Ends the service.
    ~ScriptedInstrument();
    ScriptedInstrument(const ScriptedInstrument&) = delete;
    ScriptedInstrument& operator=(const ScriptedInstrument&) = delete;

    const std::string& portName() const { return portName_; }
    std::uint16_t maxPacket() const { return maxPacket_; }

    /// From now on its button is pressed whenever the host has acknowledged a reply.
    void pressAfterReplies() { isPressed_ = true; }
    /// When the measurement was sent that was pressed last.
    Clock::time_point pressedAt() const { return pressedAt_; }

  private:
    void serve();
    /// False when the service is to end.
    bool take(ByteView packet);
    void takeData(ByteView packet);
    const Train& replyTo(std::uint8_t operation, ByteView data);
    void sendNext();

    std::uint16_t maxPacket_;
    std::chrono::microseconds latency_;
    Descriptor master_;
    std::string portName_;
    Descriptor terminal_;  // kept open, so that the terminal outlives its hosts

    Bytes toSend_;
    Bytes acknowledgement_;
    std::map<std::pair<std::uint8_t, std::uint32_t>, Train> replies_;  // by operation and count
    const Train* sending_ = nullptr;
    std::size_t next_ = 0;        // packet of the train
    std::uint8_t operation_ = 0;  // of the transfer that comes in

    std::atomic<bool> isPressed_{false};
    std::atomic<Clock::time_point> pressedAt_{};
    Train pressed_;

    std::thread thread_;
};

}  // namespace cqbench

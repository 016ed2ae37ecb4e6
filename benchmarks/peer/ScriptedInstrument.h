#pragma once

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
    /// \param maxPacket the largest packet, for both directions.
    /// \throw std::system_error without a pseudo-terminal.
    explicit ScriptedInstrument(std::uint16_t maxPacket);
    /// Ends the service.
    ~ScriptedInstrument();
    ScriptedInstrument(const ScriptedInstrument&) = delete;
    ScriptedInstrument& operator=(const ScriptedInstrument&) = delete;

    const std::string& portName() const { return portName_; }
    std::uint16_t maxPacket() const { return maxPacket_; }

  private:
    void serve();
    /// False when the service is to end.
    bool take(ByteView packet);
    void takeData(ByteView packet);
    const Train& replyTo(std::uint8_t operation, ByteView data);
    void sendNext();

    std::uint16_t maxPacket_;
    Descriptor master_;
    std::string portName_;
    Descriptor terminal_;  // kept open, so that the terminal outlives its hosts

    Bytes toSend_;
    Bytes acknowledgement_;
    std::map<std::pair<std::uint8_t, std::uint32_t>, Train> replies_;  // by operation and count
    const Train* sending_ = nullptr;
    std::size_t next_ = 0;        // packet of the train
    std::uint8_t operation_ = 0;  // of the transfer that comes in

    std::thread thread_;
};

}  // namespace cqbench

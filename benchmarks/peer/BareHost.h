#pragma once

#include <cstdint>

#include "peer/Descriptor.h"
#include "peer/Packets.h"
#include "peer/ScriptedInstrument.h"

namespace cqbench {

/// The host that a library cannot beat: it exchanges ready-made packets with an instrument by
/// blocking reads and writes, knows beforehand how long each answer is, and checks nothing.
class BareHost {
  public:
    /// Opens the instrument's terminal and shakes hands.
    explicit BareHost(const ScriptedInstrument& instrument);

    /// One status request.
    void requestStatus();

    /// Prepares upload() and download() of so many standards.
    void prepare(std::uint32_t standards);
    void upload();
    /// With the two questions that go before it.
    void download();

    /// Data packets of records that one of them takes.
    std::size_t uploadPackets() const { return upload_.sizes.size(); }
    std::size_t downloadPackets() const { return download_.size(); }

  private:
    /// A request, and the sizes of the packets of its reply.
    struct Exchange {
        Train request;
        std::vector<std::size_t> sizes;
    };

    Exchange makeExchange(std::uint8_t operation, ByteView data, std::size_t replySize) const;
    void send(const Train& train);
    void request(const Exchange& exchange);

    std::size_t maxPacket_;
    Descriptor terminal_;
    Bytes buffer_;
    Bytes acknowledgement_;
    Exchange status_;
    Exchange deviceInfo_;
    Exchange total_;
    Exchange upload_;
    Train download_;
};

}  // namespace cqbench

#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "fuzz/ScriptedPort.h"

namespace ovk::fuzz {

/// What an instrument does with one request. In an input: a byte, then the arguments in this order.
struct ReplyPlan {
    enum class Kind : std::uint8_t {
        right,    ///< bits 0..1 are 0: a reply of the size that the request asks for
        sized,    ///< 1: a word of size follows
        refused,  ///< 2: a word of error follows; in place of the reply, wireless FAIL
        rejected  ///< 3: likewise, in place of the acknowledgement, wireless INVAL
    };

    static ReplyPlan read(Script& script);
    /// What a wired instrument's packets carry each.
    std::size_t packetSize() const;
    /// So many bytes, the content repeated or cut off; without content a pattern.
    Bytes reply(std::size_t size) const;

    Kind kind = Kind::refused;
    std::uint16_t number = 0;           // size or error
    Bytes content;                      // bit 2: a byte of size and the content follow
    bool hasMeasurement = false;        // bit 3: a measurement comes first, its size is a word
    std::uint16_t measurementSize = 0;  // likewise
    std::uint8_t packetChoice = 0;      // bits 5..7
};

/// One request and what came of it.
struct Exchange {
    Bytes request;  // without framing, the wired one's operation or the wireless one's type and
                    // command in front
    ReplyPlan plan;
    Bytes reply;
};

/// An instrument that takes its replies from the input.
class InstrumentPeer : public PortPeer {
  public:
    explicit InstrumentPeer(Script& script) : script_(script) {}

    /// What has been exchanged since the last look.
    std::vector<Exchange> takeExchanges() { return std::exchange(exchanges_, {}); }

  protected:
    Script& script_;
    std::vector<Exchange> exchanges_;
};

/// An instrument on a cable: answers every transfer to the end, so that no call waits in vain.
class WiredPeer : public InstrumentPeer {
  public:
    explicit WiredPeer(Script& script) : InstrumentPeer(script), maxPacket_(script.word()) {}

    Bytes answer(BytesView written) override;

    /// Measurements that nobody has asked for, of the right size, since the last look.
    std::vector<Bytes> takeMeasurements();

    /// Totals are answered with so many at most.
    std::uint32_t mostTotal = 0xFFFFFFFF;

  private:
    Bytes answerData(BytesView packet);
    Bytes answerTransfer(std::uint32_t nextNumber);
    Bytes replyTo(const Exchange& exchange) const;

    std::uint16_t maxPacket_;
    Bytes request_;
    std::vector<Bytes> measurements_;
};

/// An instrument behind an adapter that is linked already: answers every packet, once the input is
/// used up with FAIL.
class WirelessPeer : public InstrumentPeer {
  public:
    using InstrumentPeer::InstrumentPeer;

    Bytes answer(BytesView written) override;
};

}  // namespace ovk::fuzz

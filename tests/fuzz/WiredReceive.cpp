// Arbitrary bytes in arbitrary pieces at arbitrary times reach a wired link.
//
// The link is run twice: one is given every piece at once, the other byte after byte. Held to be
// true:
//
// - the two say and answer the same however the bytes are cut into pieces, and no more bytes are
//   put aside of larger ones;
// - a transfer's pieces follow each other: each begins where the one before it has ended;
// - data comes in a session alone, and no answer is longer than was agreed.
//
// An input is a listener's behaviour (1 byte: bits 0..2 which piece it refuses, 0 for none; bit 3 it
// sends a command when it is given the last piece), then steps:
//
//     00..7F  so many bytes follow and arrive
//     80..9F  a data packet that fits what is awaited: bit 0 more follow, bit 1 spoils the CRC,
//             bit 2 a byte follows that is added to the sequence number, bit 3 the size is a word;
//             the size and the payload follow
//     A1..A9  a packet of that type, its other bytes follow
//     B0..B3  the host asks for a session, says goodbye, watches, gives the session up
//     C0..FF  so many tenths of a second pass, less C0

#include "CQCommProtocol/Link.h"
#include "CQCommProtocol/WireBytes.h"
#include "fuzz/Script.h"

namespace ovk::fuzz {
namespace {

using namespace std::chrono_literals;
using TimePoint = Link::TimePoint;

constexpr std::uint8_t kCommand = 0x21;

struct Behaviour {
    unsigned refusedPiece;
    bool sendsCommand;
};

/// A link with a listener that writes down all that is said to it and to the instrument.
class Host : private ICommunicationEventListener, private IRawDataListener {
  public:
    explicit Host(Behaviour behaviour)
        : link(*this,
               [this](BytesView bytes) {
                   require(bytes.size() <= 64, "an answer is no longer than agreed");
                   said.emplace_back(bytes.begin(), bytes.end());
                   return true;
               }),
          behaviour_(behaviour) {
        link.setRawDataListener(this, true);
    }

    void receive(BytesView bytes, TimePoint now) {
        now_ = now;
        link.receive(bytes, now);
    }
    /// The number of the packet that the instrument would send next.
    std::uint32_t awaitedSequence() const {
        return link.state() == Link::State::receiving ? pieces_ : 0;
    }

    std::vector<Bytes> said;
    Bytes aside;
    Link link;

  private:
    template <class... Numbers>
    void hear(std::uint8_t what, BytesView data, Numbers... numbers) {
        Bytes event{what};
        (test::append(event, static_cast<std::uint32_t>(numbers), 4), ...);
        event.insert(event.end(), data.begin(), data.end());
        said.push_back(event);
    }
    void connectionResult(bool isConnected) override { hear('c', {}, isConnected); }
    void disconnected() override { hear('d', {}); }

    std::uint16_t dataReceived(std::uint8_t operation, std::uint32_t offset, BytesView data,
                               std::uint32_t error, bool isLast) override {
        hear('r', data, operation, offset, error, isLast);
        require(link.hasSession(), "data belongs to a session");
        if (error != 0) {
            return 0;
        }
        pieces_ = offset == 0 ? 1 : pieces_ + 1;
        // The operation code counts, and is no part of the first piece's data.
        require(offset == 0 || offset - end_ <= 1,
                "a piece begins where the one before it has ended");
        end_ = offset + static_cast<std::uint32_t>(data.size());
        if (++pieceCount_ == behaviour_.refusedPiece) {
            return 1;
        }
        if (isLast && behaviour_.sendsCommand) {
            const bool isSent = link.send(kCommand, {}, nullptr, now_) == CQ_NO_ERROR;
            require(isSent == (link.state() != Link::State::closing),
                    "a command can be sent when the last piece is handed on");
        }
        return 0;
    }

    std::uint16_t transferProgress(std::uint8_t operation, std::uint32_t total, std::uint16_t error,
                                   bool isDone) override {
        hear('p', {}, operation, total, error, isDone);
        require(operation == kCommand, "progress is that of what was sent");
        return 0;
    }

    void rawData(BytesView bytes) override {
        aside.insert(aside.end(), bytes.begin(), bytes.end());
    }

    Behaviour behaviour_;
    unsigned pieceCount_ = 0;
    std::uint32_t pieces_ = 0;  // of the transfer
    std::uint32_t end_ = 0;
    TimePoint now_{};
};

/// Both hosts, and the instrument that the input plays.
class Run {
  public:
    explicit Run(Behaviour behaviour) : byteByByte_(behaviour), whole_(behaviour) {}

    void step(Script& script) {
        const std::uint8_t tag = script.byte();
        if (tag < 0x80) {
            receive(script.take(tag));
        } else if (tag < 0xA0) {
            receive(dataPacket(tag, script));
        } else if (tag < 0xB0) {
            receive(controlPacket(tag, script));
        } else if (tag < 0xC0) {
            act(tag & 3U);
        } else {
            now_ += (tag - 0xC0) * 100ms;
        }
        require(byteByByte_.said == whole_.said,
                "it does not matter how the bytes are cut into pieces");
        // With a session the link forgets what came before its end in the same piece.
        require(whole_.aside.size() <= byteByByte_.aside.size(),
                "a larger piece puts no more bytes aside");
    }

  private:
    void receive(BytesView bytes) {
        if (bytes.empty()) {
            return;  // an owner of a link brings it bytes that have come, never none
        }
        for (const std::uint8_t& byte : bytes) {
            byteByByte_.receive({&byte, 1}, now_);
        }
        whole_.receive(bytes, now_);
    }

    Bytes dataPacket(std::uint8_t tag, Script& script) const {
        const std::uint32_t skew = (tag & 4U) != 0 ? script.byte() : 0;
        const std::size_t size = (tag & 8U) != 0 ? script.word() : script.byte();
        const auto payload = script.take(size);
        Bytes packet = test::dataPacket(whole_.awaitedSequence() + skew,
                                        (tag & 1U) != 0 ? test::kMore : test::kLast, payload);
        packet.back() = static_cast<std::uint8_t>(packet.back() ^ (tag & 2U));
        return packet;
    }

    static Bytes controlPacket(std::uint8_t type, Script& script) {
        const std::size_t size = type == 0xA1 ? 9 : type == 0xA2 ? 13 : type == 0xA7 ? 8 : 4;
        Bytes packet{0xAA, 0x55, type};
        const auto given = script.take(size - packet.size());
        packet.insert(packet.end(), given.begin(), given.end());
        packet.resize(size);
        return packet;
    }

    void act(unsigned what) {
        for (Link* const link : {&byteByByte_.link, &whole_.link}) {
            if (what == 0) {
                link->shakeHands();
            } else if (what == 1 && link->hasSession()) {
                link->requestDisconnect(now_);
            } else if (what == 2) {
                link->watch(now_);
            } else if (what == 3) {
                link->endSession();
            }
        }
    }

    TimePoint now_{};
    Host byteByByte_;
    Host whole_;
};

}  // namespace
}  // namespace ovk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ovk::fuzz::Script script({data, size});
    const unsigned options = script.byte();
    ovk::fuzz::Run run({options & 7U, (options & 8U) != 0});
    while (!script.isAtEnd()) {
        run.step(script);
    }
    return 0;
}

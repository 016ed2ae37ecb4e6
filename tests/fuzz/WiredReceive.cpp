// Arbitrary bytes in arbitrary pieces at arbitrary times reach a wired link.
//
// The link is run twice. One is given every piece at once. The other is given byte after byte, and
// beside it runs a parser of the fuzzer's own, which tells with which byte a packet ends and so
// which packet an event or answer is about. Held to be true:
//
// - the two links say and answer the same, so nothing depends on how bytes are cut into pieces;
// - with a byte that ends no packet nothing happens;
// - each packet has the events and the answers of docs/wired-protocol.md and no others: no piece is
//   taken with a wrong CRC, out of turn or twice, its bytes are the packet's, its offset what came
//   before it;
// - bytes that belong to no packet come out as they went in.
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

#include <utility>

#include "CQCommProtocol/Link.h"
#include "fuzz/ReferenceParser.h"
#include "fuzz/Script.h"
#include "protocol/WireBytes.h"

namespace ovk::fuzz {
namespace {

using namespace std::chrono_literals;
using State = Link::State;
using TimePoint = Link::TimePoint;

constexpr std::uint8_t kCommand = 0x21;

enum class What { connected, disconnected, data, progress };

struct Event {
    What what;
    bool flag;  // accepted, last or done
    std::uint8_t operation = 0;
    std::uint32_t number = 0;  // offset, or total
    std::uint32_t error = 0;
    Bytes data;

    bool operator==(const Event&) const = default;
};

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
                   written.emplace_back(bytes.begin(), bytes.end());
                   return true;
               }),
          behaviour_(behaviour) {
        link.setRawDataListener(this, true);
    }

    void receive(BytesView bytes, TimePoint now) {
        now_ = now;
        link.receive(bytes, now);
    }

    std::vector<Event> events;
    std::vector<Bytes> written;
    Bytes aside;
    bool hasRefused = false;
    bool hasSentCommand = false;
    Link link;

  private:
    void connectionResult(bool isConnected) override {
        events.push_back({What::connected, isConnected, 0, 0, 0, {}});
    }
    void disconnected() override { events.push_back({What::disconnected, true, 0, 0, 0, {}}); }

    std::uint16_t dataReceived(std::uint8_t operation, std::uint32_t offset, BytesView data,
                               std::uint32_t error, bool isLast) override {
        events.push_back(
            {What::data, isLast, operation, offset, error, Bytes(data.begin(), data.end())});
        if (error == 0 && ++pieces_ == behaviour_.refusedPiece) {
            hasRefused = true;
            return 1;
        }
        if (error == 0 && isLast && behaviour_.sendsCommand) {
            hasSentCommand = link.send(kCommand, {}, nullptr, now_) == CQ_NO_ERROR;
            require(hasSentCommand == (link.state() != State::closing),
                    "a command can be sent when the last piece is handed on");
        }
        return 0;
    }

    std::uint16_t transferProgress(std::uint8_t operation, std::uint32_t total, std::uint16_t error,
                                   bool isDone) override {
        events.push_back({What::progress, isDone, operation, total, error, {}});
        return 0;
    }

    void rawData(BytesView bytes) override {
        aside.insert(aside.end(), bytes.begin(), bytes.end());
    }

    Behaviour behaviour_;
    unsigned pieces_ = 0;
    TimePoint now_{};
};

Bytes shortPacket(std::uint8_t type, std::uint8_t session) {
    return {0x55, 0xAA, type, session};
}

Bytes answer(std::uint8_t session, std::uint8_t flag, std::uint32_t number) {
    return test::acknowledgement(flag, number, session, "55 AA");
}

/// A host that is given byte after byte, and what the protocol says of it.
class JudgedHost {
  public:
    explicit JudgedHost(Behaviour behaviour) : host(behaviour) {}

    void receive(BytesView bytes, TimePoint now) {
        for (const std::uint8_t byte : bytes) {
            const auto packet = parser_.take(byte, now);
            state_ = host.link.state();
            session_ = host.link.session();
            firstEvent_ = host.events.size();
            firstWritten_ = host.written.size();
            host.hasRefused = host.hasSentCommand = false;
            host.receive({&byte, 1}, now);
            packet ? judge(*packet) : expect({}, {});
            const Bytes aside = parser_.takeAside();
            aside_.insert(aside_.end(), aside.begin(), aside.end());
            require(std::exchange(host.aside, {}) == std::exchange(aside_, {}),
                    "bytes of no packet come out as they went in");
        }
    }

    /// The host forgets what it had begun to receive.
    void forget() {
        parser_.clear();
        endTransfer();
        command_.clear();
        hasSent_ = false;
    }

    std::uint32_t awaitedSequence() const {
        return host.link.state() == State::receiving ? awaited_ : 0;
    }

    Host host;

  private:
    void expect(const std::vector<Event>& events, const std::vector<Bytes>& written) const {
        require(std::equal(host.events.begin() + static_cast<std::ptrdiff_t>(firstEvent_),
                           host.events.end(), events.begin(), events.end()),
                "the listener hears what the packet says and nothing else");
        require(std::equal(host.written.begin() + static_cast<std::ptrdiff_t>(firstWritten_),
                           host.written.end(), written.begin(), written.end()),
                "the packet is answered as the protocol says");
    }

    void judge(const Bytes& packet) {
        const bool isRequested = state_ == State::shakeHandsRequested;
        switch (packet[2]) {
            case 0xA2: {
                const bool isAccepted = packet[3] >= 1 && packet[3] <= 254;
                if (!isRequested) {
                    aside_.insert(aside_.end(), packet.begin(), packet.end());
                    return expect({}, {});
                }
                expect({{What::connected, isAccepted, 0, 0, 0, {}}},
                       isAccepted ? std::vector<Bytes>{shortPacket(0xA3, packet[3])}
                                  : std::vector<Bytes>{});
                return require(host.link.session() == (isAccepted ? packet[3] : 0),
                               "the session is the one that was assigned");
            }
            case 0xA4:
                return judgeGoodbye({shortPacket(0xA5, session_)});
            case 0xA5:
                return judgeGoodbye({});
            case 0xA6:
                return judgeData(packet);
            case 0xA7:
                return judgeAcknowledgement(packet);
            case 0xA8:
                return expect({}, {shortPacket(0xA9, session_)});
            default:
                return expect({}, {});
        }
    }

    void judgeGoodbye(const std::vector<Bytes>& written) {
        const bool hadSession = state_ >= State::idle;
        expect(hadSession ? std::vector<Event>{{What::disconnected, true, 0, 0, 0, {}}}
                          : std::vector<Event>{},
               written);
        require(!hadSession || !host.link.hasSession(), "a goodbye ends the session");
        if (hadSession) {
            forget();
        }
    }

    void judgeData(const Bytes& packet) {
        if (state_ == State::notConnected || state_ == State::shakeHandsRequested) {
            return expect({}, {});
        }
        if (state_ != State::receiving && state_ != State::closing) {
            endTransfer();
        }
        const std::uint32_t number = packet[4] + 256U * packet[5] + 65536U * packet[6];
        const std::uint8_t flag = packet[7];
        const std::size_t length = packet[8] + 256U * packet[9];
        if (flag == test::kAbort) {
            expect({{What::data, true, operation_, offset_, number != 0 ? number : 0xFFFF, {}}},
                   {});
            return endTransfer();
        }
        if (length < 2 || number != awaited_) {
            return expect({}, {});
        }
        const BytesView payload = BytesView(packet).subspan(10, length - 2);
        const unsigned crc = packet[8 + length] + 256U * packet[9 + length];
        if (crc != test::crcByBits(payload)) {
            return expect({}, {answer(session_, test::kRetransmit, awaited_)});
        }
        judgePiece(payload, flag != test::kMore);
    }

    void judgePiece(BytesView payload, bool isLast) {
        if (awaited_ == 0) {
            operation_ = payload.empty() ? std::uint8_t{0} : payload.front();
            received_ = 0;
        }
        offset_ = received_;
        received_ += static_cast<std::uint32_t>(payload.size());
        const BytesView data =
            awaited_ == 0 ? payload.subspan(std::min<std::size_t>(1, payload.size())) : payload;
        const std::uint32_t next = (awaited_ + 1) & 0xFFFFFF;
        std::vector<Bytes> written{host.hasRefused ? answer(session_, test::kAbort, next & 0xFFFF)
                                                   : answer(session_, test::kLast, next)};
        if (host.hasSentCommand) {
            command_ = test::dataPacket(0, test::kLast, Bytes{kCommand}, "55 AA");
            command_[3] = session_;
            hasSent_ = true;
            written.push_back(command_);
        }
        expect({{What::data, isLast, operation_, offset_, 0, Bytes(data.begin(), data.end())}},
               written);
        const bool isOver = isLast || host.hasRefused;
        awaited_ = next;
        if (isOver) {
            endTransfer();
        }
        require(host.link.state() == (state_ == State::closing ? State::closing
                                      : host.hasSentCommand    ? State::sending
                                      : isOver                 ? State::idle
                                                               : State::receiving),
                "a transfer is over with its last piece");
    }

    void judgeAcknowledgement(const Bytes& packet) {
        const std::uint8_t flag = packet[7];
        if (flag == test::kAbort) {
            return judgeAbort(packet[4] + 256U * packet[5]);
        }
        if (command_.empty()) {
            return expect({}, {});
        }
        if (flag == test::kRetransmit) {
            return expect({}, {command_});
        }
        if (flag != test::kLast) {
            return expect({}, {});
        }
        expect({{What::progress, true, kCommand, 0, 0, {}}}, {});
        command_.clear();
    }

    /// It ends what was sent last, and the answer to it if that has begun.
    void judgeAbort(std::uint32_t error) {
        if (!hasSent_) {
            return expect({}, {});
        }
        const std::uint32_t total = command_.empty() ? 0xFFFFFFFF : 0;
        expect({{What::progress, true, kCommand, total, error != 0 ? error : 0xFFFF, {}}}, {});
        command_.clear();
        if (state_ == State::receiving && operation_ == kCommand) {
            endTransfer();
        }
    }

    void endTransfer() {
        awaited_ = 0;
        received_ = 0;
        offset_ = 0;
        operation_ = 0;
    }

    std::size_t firstEvent_ = 0;
    std::size_t firstWritten_ = 0;
    ReferenceParser parser_;
    Bytes aside_;

    State state_ = State::notConnected;  // before the packet
    std::uint8_t session_ = 0;           // likewise
    Bytes command_;                      // sent and neither acknowledged nor refused
    bool hasSent_ = false;               // a command in this session
    std::uint32_t awaited_ = 0;
    std::uint32_t received_ = 0;
    std::uint32_t offset_ = 0;
    std::uint8_t operation_ = 0;
};

/// Both hosts, and the instrument that the input plays.
class Run {
  public:
    explicit Run(Behaviour behaviour) : judged_(behaviour), whole_(behaviour) {}

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
        require(judged_.host.events == whole_.events && judged_.host.written == whole_.written,
                "it does not matter how the bytes are cut into pieces");
    }

  private:
    void receive(BytesView bytes) {
        if (!bytes.empty()) {  // an owner of a link brings it bytes that have come, never none
            judged_.receive(bytes, now_);
            whole_.receive(bytes, now_);
        }
    }

    Bytes dataPacket(std::uint8_t tag, Script& script) const {
        const std::uint32_t skew = (tag & 4U) != 0 ? script.byte() : 0;
        const std::size_t size = (tag & 8U) != 0 ? script.word() : script.byte();
        const auto payload = script.take(size);
        Bytes packet = test::dataPacket(judged_.awaitedSequence() + skew,
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
        const bool wasConnected = judged_.host.link.state() != State::notConnected;
        for (Link* const link : {&judged_.host.link, &whole_.link}) {
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
        const bool hasDropped = wasConnected && judged_.host.link.state() == State::notConnected;
        if (what == 0 || what == 3 || hasDropped) {
            judged_.forget();
        }
    }

    TimePoint now_{};
    JudgedHost judged_;
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

// A wired link sends commands to an instrument that answers as it likes.
//
// The fuzzer keeps what the host has put into its packets beside what it was asked to send. Held to
// be true:
//
// - every packet is well formed and no longer than the instrument has allowed; those of a transfer
//   are numbered one by one, and their payloads are the operation, the data and the stream;
// - nothing but an acknowledgement brings the next packet, nothing but a request the last one again;
// - a transfer has one outcome or still waits; success comes with the acknowledgement of the last
//   packet and not before, a refusal is never taken for it, whatever error it names;
// - a send that is turned down writes nothing and has no outcome.
//
// An input is the largest packet (a word), then steps of a tag and its arguments:
//
//     00  send: operation, word size            01  send with a stream: likewise, byte its size less 1
//     02  the host refuses to go on: word error
//     10  right acknowledgement                 11  so many of them: byte
//     12  any acknowledgement: flag, word number, byte number's high part
//     20  data packet: flag, word number, byte size, payload
//     21  A2: session, word largest packet      22  A4   23  A5   24  A8
//     30  the host asks for a session           31  says goodbye  32  watches  33  ends it
//     34  writing fails from now on, or works again
//     C0..FF  so many tenths of a second pass, less C0

#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "CQCommProtocol/Link.h"
#include "fuzz/Script.h"
#include "protocol/WireBytes.h"

namespace ovk::fuzz {
namespace {

using namespace std::chrono_literals;
using State = Link::State;

constexpr std::size_t kMaxData = 0x1FFF;  // the rest would repeat what these show

struct Transfer {
    std::uint8_t operation = 0;
    Bytes content;  // operation, data, stream
    Bytes carried;  // by the packets so far
    std::uint32_t packets = 0;
    Bytes lastPacket;
    bool isRunning = false;
};

class Client : private ICommunicationEventListener {
  public:
    explicit Client(Script& script)
        : script_(script), link_(*this, [this](BytesView bytes) {
              checkWritten(bytes);
              return canWrite_;
          }) {
        link_.shakeHands();
        acceptSession(7, script_.word());
    }

    void step() {
        const std::uint8_t tag = script_.byte();
        written_ = results_ = 0;
        if (tag >= 0xC0) {
            now_ += (tag - 0xC0) * 100ms;
        } else if (tag >= 0x30) {
            act(tag & 0xFU);
        } else if (tag >= 0x10) {
            hear(tag);
        } else if (tag == 2) {
            refusal_ = script_.word();
        } else {
            send(tag == 1);
        }
        require(link_.state() != State::sending || transfer_.isRunning,
                "a link that sends has something to send");
        require(!link_.hasSession() == (link_.state() < State::idle),
                "there is a session in the states that have one");
    }

  private:
    // The host's side.

    void send(bool hasStream) {
        Transfer next;
        next.operation = script_.byte();
        const Bytes data = test::pattern(script_.word() & kMaxData);
        const Bytes streamed = hasStream ? test::pattern(1U + script_.byte(), 100) : Bytes();
        next.content = test::joined({{next.operation}, data, streamed});
        next.isRunning = true;
        const auto stream = hasStream ? std::make_shared<std::istringstream>(
                                            std::string(streamed.begin(), streamed.end()))
                                      : nullptr;
        const State state = link_.state();
        const bool isFree = link_.hasSession() && state == State::idle;
        const Transfer former = std::exchange(transfer_, std::move(next));
        const auto code = link_.send(transfer_.operation, data, stream, now_);
        require(code == (isFree               ? CQ_NO_ERROR
                         : link_.hasSession() ? CQ_DEVICE_IS_BUSY
                                              : CQ_NO_SESSION),
                "a send is accepted when nothing else goes on");
        require(written_ == (isFree ? 1U : 0U) && results_ == 0,
                "a send writes its first packet, one that is turned down nothing");
        if (!isFree) {
            transfer_ = former;
        }
    }

    void act(unsigned what) {
        if (what == 0) {
            transfer_.isRunning = false;
            link_.shakeHands();
        } else if (what == 1 && link_.hasSession()) {
            isClosing_ = true;
            link_.requestDisconnect(now_);
        } else if (what == 2) {
            link_.watch(now_);
        } else if (what == 3) {
            link_.endSession();
        } else if (what == 4) {
            canWrite_ = !canWrite_;
        }
        require(results_ == 0, "a session that ends is no outcome");
    }

    // The instrument's side.

    void hear(std::uint8_t tag) {
        switch (tag) {
            case 0x10:
                return acknowledge(test::kLast, transfer_.packets);
            case 0x11:
                for (unsigned left = script_.byte(); left > 0 && transfer_.isRunning; --left) {
                    results_ = written_ = 0;
                    acknowledge(test::kLast, transfer_.packets);
                }
                return;
            case 0x12: {
                const std::uint8_t flag = script_.byte();
                const std::uint32_t low = script_.word();
                return acknowledge(flag, low | static_cast<std::uint32_t>(script_.byte()) << 16);
            }
            case 0x20: {
                const std::uint8_t flag = script_.byte();
                const std::uint32_t number = script_.word();
                return receive(test::dataPacket(number, flag, script_.take(script_.byte())));
            }
            case 0x21: {
                const std::uint8_t session = script_.byte();
                return acceptSession(session, script_.word());
            }
            case 0x22:
            case 0x23:
                return receive({0xAA, 0x55, static_cast<std::uint8_t>(0xA4 + (tag & 1U)), 7});
            case 0x24:
                return receive({0xAA, 0x55, 0xA8, 7});
            default:
                return;
        }
    }

    void receive(const Bytes& packet) { link_.receive(packet, now_); }

    void acceptSession(std::uint8_t session, std::uint16_t maxPacket) {
        offeredMaxPacket_ = maxPacket;
        receive(test::sessionOffer(session, maxPacket));
    }

    /// An acknowledgement, a request to send again or an abort: what is due is worked out first.
    void acknowledge(std::uint8_t flag, std::uint32_t number) {
        const bool counts = transfer_.isRunning && !isClosing_;
        const bool isNews = flag == test::kLast && (number == 0 || number >= transfer_.packets);
        const bool isComplete = transfer_.carried == transfer_.content;
        mayRepeat_ = counts && flag == test::kRetransmit;
        mayGoOn_ = counts && isNews;
        isRefusedByInstrument_ = counts && flag == test::kAbort;
        const bool isRefusedByHost = mayGoOn_ && refusal_ != 0 && !isComplete;

        receive(test::acknowledgement(flag, number));

        require(results_ == (mayGoOn_ || isRefusedByInstrument_ ? 1U : 0U),
                "an acknowledgement is reported once, anything else not at all");
        require(written_ == (mayRepeat_ || (mayGoOn_ && !isComplete) ? 1U : 0U),
                "an acknowledgement brings one packet, as long as there is one to send");
        require(transfer_.isRunning == (counts && !isRefusedByInstrument_ && !isRefusedByHost &&
                                        !(mayGoOn_ && isComplete)) ||
                    !counts,
                "a transfer runs until its outcome");
        mayRepeat_ = mayGoOn_ = isRefusedByInstrument_ = false;
    }

    // What comes of it.

    void checkWritten(BytesView bytes) {
        require(bytes.size() >= 4 && bytes[0] == 0x55 && bytes[1] == 0xAA,
                "a packet begins with the host's marks");
        const std::uint8_t type = bytes[2];
        if (type == 0xA6) {
            ++written_;
            return checkData(bytes);
        }
        require(bytes.size() == (type == 0xA1   ? 9U
                                 : type == 0xA7 ? 8U
                                                : 4U) &&
                    type != 0xA2 && type >= 0xA1 && type <= 0xA9,
                "a control packet is one that a host sends, of its length");
    }

    void checkData(BytesView bytes) {
        require(bytes.size() >= 10 && bytes.size() == 10U + bytes[8] + 256U * bytes[9],
                "a data packet is as long as it says");
        require(bytes.size() <= maxPacket_, "a packet is no longer than the instrument allows");
        require(transfer_.isRunning, "data is sent only while a transfer runs");
        const std::uint32_t number = bytes[4] + 256U * bytes[5] + 65536U * bytes[6];
        if (bytes[7] == test::kAbort) {
            require(mayGoOn_ && bytes.size() == 10 && number == refusal_,
                    "the host gives a transfer up with its own error in place of a packet");
            transfer_.isRunning = false;
            refusal_ = 0;
            return;
        }
        if (mayRepeat_) {
            return require(std::equal(bytes.begin(), bytes.end(), transfer_.lastPacket.begin(),
                                      transfer_.lastPacket.end()),
                           "a packet is repeated byte for byte");
        }
        require(mayGoOn_ || transfer_.packets == 0, "a packet awaits the last one's answer");
        require(number == transfer_.packets, "packets are numbered one by one");
        const BytesView payload = bytes.subspan(10, bytes.size() - 12);
        require(bytes[bytes.size() - 2] + 256U * bytes.back() == test::crcByBits(payload),
                "a packet's CRC is its payload's");
        ++transfer_.packets;
        transfer_.carried.insert(transfer_.carried.end(), payload.begin(), payload.end());
        transfer_.lastPacket.assign(bytes.begin(), bytes.end());
        const bool isWhole = transfer_.carried.size() == transfer_.content.size();
        require(!payload.empty() && transfer_.carried.size() <= transfer_.content.size() &&
                    std::equal(transfer_.carried.begin(), transfer_.carried.end(),
                               transfer_.content.begin()),
                "the packets carry what was given");
        require(bytes[7] == (isWhole ? test::kLast : test::kMore),
                "the last packet says so, and no other");
        require(isWhole || bytes.size() == maxPacket_, "all packets but the last are full");
    }

    std::uint16_t transferProgress(std::uint8_t operation, std::uint32_t total, std::uint16_t error,
                                   bool isDone) override {
        ++results_;
        require(transfer_.isRunning && operation == transfer_.operation &&
                    total + 1 == transfer_.content.size(),
                "progress is that of the transfer that runs");
        if (isRefusedByInstrument_) {
            require(error != 0 && isDone, "a refusal is a failure, whatever error it names");
            transfer_.isRunning = false;
            return 0;
        }
        require(mayGoOn_ && error == 0, "an acknowledgement is no failure");
        require(isDone == (transfer_.carried == transfer_.content),
                "a transfer is done when its last packet is acknowledged, not before");
        if (isDone) {
            transfer_.isRunning = false;
        }
        return refusal_;
    }

    void connectionResult(bool isConnected) override {
        if (isConnected) {
            isClosing_ = false;
            maxPacket_ = offeredMaxPacket_ > 12 ? offeredMaxPacket_ : 64;
        }
    }

    void disconnected() override {
        transfer_.isRunning = false;
        isClosing_ = false;
    }

    std::uint16_t dataReceived(std::uint8_t, std::uint32_t, BytesView, std::uint32_t,
                               bool) override {
        return 0;
    }

    Script& script_;
    Link::TimePoint now_{};
    Transfer transfer_;
    std::uint32_t maxPacket_ = 64;
    std::uint16_t offeredMaxPacket_ = 0;
    std::uint16_t refusal_ = 0;
    bool canWrite_ = true;
    bool isClosing_ = false;

    // Within a step.
    unsigned written_ = 0;
    unsigned results_ = 0;
    bool mayRepeat_ = false;
    bool mayGoOn_ = false;
    bool isRefusedByInstrument_ = false;

    Link link_;  // last: it writes while it is made use of
};

}  // namespace
}  // namespace ovk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ovk::fuzz::Script script({data, size});
    ovk::fuzz::Client client(script);
    while (!script.isAtEnd()) {
        client.step();
    }
    return 0;
}

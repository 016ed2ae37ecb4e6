#include <cstring>
#include <vector>

#include "Benchmarks.h"
#include "Comparison.h"
#include "CQCommProtocol/Link.h"
#include "peer/Packets.h"
#include "Results.h"

namespace cqbench {
namespace {

constexpr std::uint16_t kPacket = 1024;
constexpr std::size_t kPackets = 256;

/// Takes everything and does nothing.
class Listener : public ovk::ICommunicationEventListener {
  public:
    std::size_t received() const { return received_; }

  private:
    void connectionResult(bool /*isConnected*/) override {}
    void disconnected() override {}
    std::uint16_t dataReceived(std::uint8_t /*operation*/, std::uint32_t /*offset*/, ByteView data,
                               std::uint32_t /*error*/, bool /*isLast*/) override {
        received_ += data.size();
        return 0;
    }
    std::uint16_t transferProgress(std::uint8_t /*operation*/, std::uint32_t /*total*/,
                                   std::uint16_t /*error*/, bool /*isDone*/) override {
        return 0;
    }

    std::size_t received_ = 0;
};

void receivePath(benchmark::State& state) {
    Listener listener;
    ovk::Link link(listener, [](ByteView /*bytes*/) { return true; });
    const auto now = ovk::Link::TimePoint() + std::chrono::hours(1);
    link.shakeHands();
    link.receive(shakeHandsAcknowledgement(kPacket), now);

    const std::size_t dataSize = kPackets * (kPacket - 12) - 1;
    const Train train = makeTrain(Sender::instrument, kPacket, 0x2C, Bytes(dataSize, 0x5A));
    Bytes copy(kPackets * kPacket);
    std::size_t rounds = 0;
    const auto times = compare(
        state,
        [&] {
            for (const Bytes& packet : train) {
                link.receive(packet, now);
            }
            ++rounds;
        },
        [&] {
            std::uint8_t* to = copy.data();
            for (const Bytes& packet : train) {
                std::memcpy(to, packet.data(), packet.size());
                to += packet.size();
            }
            benchmark::ClobberMemory();
        });
    if (listener.received() != rounds * dataSize) {
        state.SkipWithError("the link has not taken every packet");
        return;
    }
    constexpr double kMegabytes = kPackets * kPacket / 1e6;
    results().push_back({.what = "receive path from memory, packets of 1024",
                         .unit = "MB/s",
                         .figure = kMegabytes / times.ours,
                         .peerName = "memcpy",
                         .peer = kMegabytes / times.peers,
                         .bound = Bound::figureAtLeast,
                         .goal = 400});
}

}  // namespace

void addReceivePathBenchmark() {
    add("receive-path", 300, receivePath);
}

}  // namespace cqbench

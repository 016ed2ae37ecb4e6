#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "Bytes.h"
#include "wired/Packet.h"
#include "wired/PacketSink.h"

namespace vi::wired {

/// Sends one transfer at a time to the host, one packet after each acknowledgement. Owns no clock.
class Transmitter {
  public:
    /// How often an unacknowledged packet is sent again before the transfer is aborted.
    static constexpr int kRepetitions = 3;

    /// \param sink must live as long as the transmitter.
    /// \param maxPacket the longest packet to send, at least kMinMaxPacket.
    /// \param patience the timeout for an acknowledgement once a packet has arrived.
    Transmitter(PacketSink& sink, std::size_t maxPacket, std::chrono::nanoseconds patience)
        : sink_(sink), chunkSize_(maxPacket - kDataOverhead), patience_(patience) {}

    bool isBusy() const { return !packet_.empty(); }

    /// \param transfer with its operation code; not empty.
    void start(std::uint8_t session, Bytes transfer, TimePoint now);

    /// An acknowledgement of any packet but the last does nothing.
    void takeAcknowledgement(const PacketView& packet, TimePoint now);

    /// Sends the packet again, or aborts, when the deadline has come.
    void elapse(TimePoint now);
    std::optional<TimePoint> deadline() const;

    void cancel();

  private:
    void sendNext(TimePoint now);
    void sendPacket(TimePoint now);

    PacketSink& sink_;
    std::size_t chunkSize_;
    std::chrono::nanoseconds patience_;

    std::uint8_t session_ = 0;
    Bytes transfer_;
    std::size_t offset_ = 0;  // of what is not in a packet yet
    std::uint32_t sequence_ = 0;
    Bytes packet_;  // the one awaiting its acknowledgement
    int repetitions_ = 0;
    TimePoint deadline_{};
};

}  // namespace vi::wired

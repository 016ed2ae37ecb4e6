#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "Bytes.h"
#include "wired/Packet.h"
#include "wired/PacketSink.h"

namespace vi::wired {

/// Carries one transfer at a time to the host, a packet after each acknowledgement. Owns no clock.
class Transmitter {
  public:
    /// How often a packet that nobody acknowledges is sent again before the transfer is aborted.
    static constexpr int kRepetitions = 3;

    /// \param sink must live as long as the transmitter.
    /// \param maxPacket the longest packet to send, at least kMinMaxPacket.
    /// \param patience how long to wait for an acknowledgement once a packet has arrived.
    Transmitter(PacketSink& sink, std::size_t maxPacket, std::chrono::nanoseconds patience)
        : sink_(sink), chunkSize_(maxPacket - kDataOverhead), patience_(patience) {}

    bool isBusy() const { return !packet_.empty(); }

    /// \param transfer with its operation code; not empty.
    void start(std::uint8_t session, Bytes transfer, TimePoint now);

    /// An acknowledgement that is about something else than the last packet does nothing.
    void takeAcknowledgement(const PacketView& packet, TimePoint now);

    /// Sends again, or gives up, when the deadline has come.
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
    std::size_t offset_ = 0;  // of what has not been put into a packet yet
    std::uint32_t sequence_ = 0;
    Bytes packet_;  // the one that waits for its acknowledgement
    int repetitions_ = 0;
    TimePoint deadline_{};
};

}  // namespace vi::wired

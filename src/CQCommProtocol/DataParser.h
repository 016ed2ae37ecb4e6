#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ovk {

/// Finds the packets in the bytes that come from the instrument. Feed it until all bytes are taken,
/// looking at the packet after each call that leaves it complete:
///
///     for (auto rest = bytes; !rest.empty();) {
///         rest = rest.subspan(parser.parse(rest, now));
///         if (parser.isComplete()) { ... parser.packet() ... }
///     }
///
/// Bytes that belong to no packet are put aside for takeDiscarded(). Has no clock and no thread.
class DataParser {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// \param timeout how long an incomplete packet may wait for its next bytes.
    explicit DataParser(std::chrono::milliseconds timeout) : timeout_(timeout) {}

    /// Takes bytes up to the end of the first packet; returns how many it took. A packet that was
    /// complete is given up at the next call.
    std::size_t parse(std::span<const std::uint8_t> bytes, TimePoint now);

    bool isComplete() const { return state_ == State::complete; }
    /// The packet's bytes received so far.
    std::span<const std::uint8_t> packet() const { return packet_; }
    /// 0 while fewer than four bytes have come.
    std::uint8_t packetType() const;

    std::vector<std::uint8_t> takeDiscarded();
    /// Forgets everything.
    void clear();

  private:
    enum class State { firstMark, secondMark, type, header, body, complete };

    void dropStale(TimePoint now);
    /// Takes bytes until the state changes; returns how many.
    std::size_t step(std::span<const std::uint8_t> bytes);
    std::size_t seekFirstMark(std::span<const std::uint8_t> bytes);
    std::size_t fill(std::span<const std::uint8_t> bytes);
    void takeType(std::uint8_t type);
    void discardPacket();

    std::chrono::milliseconds timeout_;
    TimePoint lastCall_{};
    State state_ = State::firstMark;
    std::size_t expectedSize_ = 0;
    std::vector<std::uint8_t> packet_;
    std::vector<std::uint8_t> discarded_;
};

}  // namespace ovk

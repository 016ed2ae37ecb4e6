#pragma once

#include <chrono>
#include <deque>
#include <optional>

#include "Bytes.h"

namespace vi {

/// One direction of the line: bytes come out when a line of this speed would have carried them.
/// Owns no clock.
class DelayLine {
  public:
    struct Pace {
        std::chrono::nanoseconds latency{0};
        std::chrono::nanoseconds perByte{0};
        bool isByteByByte = false;  ///< never deliver two bytes at once
    };

    /// The time between single bytes, unless the line speed makes it longer.
    static constexpr std::chrono::microseconds kBytePause{200};

    explicit DelayLine(Pace pace) : pace_(pace) {}

    void setByteByByte(bool isByteByByte) { pace_.isByteByByte = isByteByByte; }

    /// \param isByteByByte as in the pace, for these bytes.
    /// \return when the last of the bytes comes out.
    TimePoint push(ByteView bytes, TimePoint now, bool isByteByByte = false);

    /// When the next bytes come out; nothing if the line is empty.
    std::optional<TimePoint> next() const;

    /// The next bytes that have come out; empty if none are due. Valid until the next call.
    ByteView due(TimePoint now) const;
    /// \param count at most the size of what due() gave.
    void consume(std::size_t count);

    /// Discards what is on the line and what has not been consumed.
    void clear();

  private:
    struct Piece {
        TimePoint due;
        Bytes bytes;
    };

    Pace pace_;
    std::deque<Piece> pieces_;
    std::size_t consumed_ = 0;  // of the first piece
    TimePoint freeAt_{};        // when the line has carried everything so far
};

}  // namespace vi

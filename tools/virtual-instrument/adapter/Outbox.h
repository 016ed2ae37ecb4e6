#pragma once

#include <chrono>
#include <deque>
#include <optional>
#include <string>

#include "Bytes.h"
#include "line/DelayLine.h"
#include "TrafficLog.h"

namespace vi::adapter {

/// The queue of what the adapter will send: lines of text and packets, each in one piece or in two.
class Outbox {
  public:
    struct Message {
        std::string words;  ///< for the log
        Bytes bytes;
        std::size_t firstPiece = 0;  ///< number of bytes in the first piece; 0 for all at once
        std::chrono::nanoseconds pause{0};  ///< between the two pieces
        bool isByteByByte = false;
    };

    /// \param line and log must live as long as the outbox.
    Outbox(DelayLine& line, TrafficLog& log) : line_(line), log_(log) {}

    /// \param due when it may leave; it leaves later if an earlier item does.
    /// \return when its last piece leaves.
    TimePoint send(Message message, TimePoint due);

    /// Puts on the line what is due.
    void elapse(TimePoint now);
    std::optional<TimePoint> deadline() const;

    /// Discards what has not left, here and on the line.
    void clear();

    /// When the last item leaves; the beginning of time if nothing is waiting.
    TimePoint end() const { return pieces_.empty() ? TimePoint{} : pieces_.back().due; }
    bool isEmpty() const { return pieces_.empty(); }
    /// When the host has everything that has left so far.
    TimePoint quietSince() const { return quietSince_; }

  private:
    struct Piece {
        TimePoint due;
        Bytes bytes;
        std::string words;  // for the log, with the first piece
        Bytes whole;
        bool isByteByByte = false;
    };

    DelayLine& line_;
    TrafficLog& log_;
    std::deque<Piece> pieces_;
    TimePoint quietSince_{};
};

}  // namespace vi::adapter

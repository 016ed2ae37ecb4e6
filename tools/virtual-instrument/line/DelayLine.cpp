#include "line/DelayLine.h"

#include <algorithm>
#include <limits>

namespace vi {
namespace {

/// A slow line delivers its bytes in pieces of about this duration, as a receiving driver would.
constexpr std::chrono::milliseconds kPieceDuration{1};

std::size_t pieceSize(std::chrono::nanoseconds perByte) {
    return perByte.count() == 0
               ? std::numeric_limits<std::size_t>::max()
               : static_cast<std::size_t>(std::max<std::int64_t>(kPieceDuration / perByte, 1));
}

}  // namespace

TimePoint DelayLine::push(ByteView bytes, TimePoint now, bool isByteByByte) {
    isByteByByte = isByteByByte || pace_.isByteByByte;
    const auto perByte = isByteByByte
                             ? std::max<std::chrono::nanoseconds>(pace_.perByte, kBytePause)
                             : pace_.perByte;
    const std::size_t most = isByteByByte ? 1 : pieceSize(perByte);
    freeAt_ = std::max(freeAt_, now);
    while (!bytes.empty()) {
        const std::size_t size = std::min(most, bytes.size());
        freeAt_ += perByte * static_cast<std::int64_t>(size);
        const TimePoint due = freeAt_ + pace_.latency;
        if (pieces_.empty() || pieces_.back().due != due) {
            pieces_.push_back({due, {}});
        }
        Bytes& piece = pieces_.back().bytes;
        piece.insert(piece.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
        bytes = bytes.subspan(size);
    }
    return freeAt_ + pace_.latency;
}

std::optional<TimePoint> DelayLine::next() const {
    return pieces_.empty() ? std::nullopt : std::optional(pieces_.front().due);
}

ByteView DelayLine::due(TimePoint now) const {
    if (pieces_.empty() || pieces_.front().due > now) {
        return {};
    }
    return ByteView(pieces_.front().bytes).subspan(consumed_);
}

void DelayLine::consume(std::size_t count) {
    consumed_ += count;
    if (!pieces_.empty() && consumed_ == pieces_.front().bytes.size()) {
        pieces_.pop_front();
        consumed_ = 0;
    }
}

void DelayLine::clear() {
    pieces_.clear();
    consumed_ = 0;
    freeAt_ = {};
}

}  // namespace vi

#include "line/DelayLine.h"

#include <algorithm>

namespace vi {
namespace {

/// A slow line lets its bytes out in pieces of about this duration, as a receiving driver would.
constexpr std::chrono::milliseconds kPieceDuration{1};

}  // namespace

std::size_t DelayLine::pieceSize(std::size_t available) const {
    if (pace_.isByteByByte) {
        return 1;
    }
    if (pace_.perByte.count() == 0) {
        return available;
    }
    const auto size = std::max<std::int64_t>(kPieceDuration / pace_.perByte, 1);
    return std::min(available, static_cast<std::size_t>(size));
}

TimePoint DelayLine::push(ByteView bytes, TimePoint now) {
    freeAt_ = std::max(freeAt_, now);
    while (!bytes.empty()) {
        const std::size_t size = pieceSize(bytes.size());
        freeAt_ += pace_.perByte * static_cast<std::int64_t>(size);
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

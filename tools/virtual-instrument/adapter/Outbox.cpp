#include "adapter/Outbox.h"

#include <algorithm>
#include <utility>

namespace vi::adapter {

TimePoint Outbox::send(Message message, TimePoint due) {
    if (!pieces_.empty()) {
        due = std::max(due, pieces_.back().due);
    }
    const ByteView whole(message.bytes);
    const std::size_t size = message.firstPiece > 0 ? message.firstPiece : whole.size();
    const ByteView first = whole.first(std::min(size, whole.size()));
    const ByteView rest = whole.subspan(first.size());
    Bytes firstBytes(first.begin(), first.end());
    Bytes restBytes(rest.begin(), rest.end());
    const bool isByteByByte = message.isByteByByte;
    pieces_.push_back({due, std::move(firstBytes), std::move(message.words),
                       std::move(message.bytes), isByteByByte});
    if (!restBytes.empty()) {
        due += message.pause;
        pieces_.push_back({due, std::move(restBytes), {}, {}, isByteByByte});
    }
    return due;
}

void Outbox::elapse(TimePoint now) {
    while (!pieces_.empty() && pieces_.front().due <= now) {
        const Piece& piece = pieces_.front();
        if (!piece.whole.empty()) {
            log_.packet(TrafficLog::Direction::toHost, piece.words, piece.whole, now);
        }
        quietSince_ = line_.push(piece.bytes, now, piece.isByteByByte);
        pieces_.pop_front();
    }
}

std::optional<TimePoint> Outbox::deadline() const {
    return pieces_.empty() ? std::nullopt : std::optional(pieces_.front().due);
}

void Outbox::clear() {
    pieces_.clear();
    line_.clear();
}

}  // namespace vi::adapter

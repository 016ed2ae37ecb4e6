#include "wired/Scanner.h"

#include "wired/Packet.h"

namespace vi::wired {

void Scanner::receive(ByteView bytes, TimePoint now) {
    elapse(now);
    buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
    lastByte_ = now;
    scan();
}

void Scanner::elapse(TimePoint now) {
    const auto due = deadline();
    if (due && *due <= now) {
        while (!buffer_.empty()) {
            drop(findMark(1));
            scan();
        }
    }
}

std::optional<TimePoint> Scanner::deadline() const {
    return buffer_.empty() ? std::nullopt : std::optional(lastByte_ + kPatience);
}

void Scanner::scan() {
    while (true) {
        drop(findMark(0));
        if (buffer_.size() <= kMarkSize) {
            return;
        }
        const auto length = packetLength(buffer_);
        if (!length) {
            drop(kMarkSize);
            continue;
        }
        if (buffer_.size() < *length) {
            return;
        }
        packet_(take(*length));
    }
}

/// The position of the next start mark, or of the first half of one at the end.
std::size_t Scanner::findMark(std::size_t from) const {
    for (std::size_t at = from; at < buffer_.size(); ++at) {
        const bool isLastByte = at + 1 == buffer_.size();
        if (buffer_[at] == kFromHost[0] && (isLastByte || buffer_[at + 1] == kFromHost[1])) {
            return at;
        }
    }
    return buffer_.size();
}

void Scanner::drop(std::size_t count) {
    if (count > 0) {
        stray_(take(count));
    }
}

Bytes Scanner::take(std::size_t count) {
    const auto end = buffer_.begin() + static_cast<std::ptrdiff_t>(count);
    Bytes bytes(buffer_.begin(), end);
    buffer_.erase(buffer_.begin(), end);
    return bytes;
}

}  // namespace vi::wired

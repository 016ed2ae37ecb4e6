#pragma once

#include <chrono>
#include <optional>
#include <utility>

#include "fuzz/Script.h"

namespace ovk::fuzz {

/// Finds the packets from the instrument one byte at a time, as docs/wired-protocol.md tells it and
/// with none of the library's code: what the library's parser is held against.
class ReferenceParser {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// The packet that this byte ends, if it ends one.
    std::optional<Bytes> take(std::uint8_t byte, TimePoint now) {
        if (now - lastByte_ > std::chrono::seconds(5)) {
            putAside();
        }
        lastByte_ = now;
        packet_.push_back(byte);
        const std::size_t size = expectedSize();
        if (size == 0) {
            putAside();
        }
        if (size == 0 || packet_.size() < size) {
            return std::nullopt;
        }
        return std::exchange(packet_, {});
    }

    void clear() { packet_.clear(); }

    /// What has belonged to no packet since the last look.
    Bytes takeAside() { return std::exchange(aside_, {}); }

  private:
    void putAside() {
        aside_.insert(aside_.end(), packet_.begin(), packet_.end());
        packet_.clear();
    }

    /// How long the packet is, as far as its bytes tell; 0 if they begin none.
    std::size_t expectedSize() const {
        static constexpr std::uint8_t kMarks[] = {0xAA, 0x55};
        constexpr std::size_t kUnknown = 3;
        if (packet_[0] != kMarks[0] || (packet_.size() > 1 && packet_[1] != kMarks[1])) {
            return 0;
        }
        if (packet_.size() < kUnknown) {
            return kUnknown;
        }
        switch (packet_[2]) {
            case 0xA1:
                return 9;
            case 0xA2:
                return 13;
            case 0xA6:
                return packet_.size() < 10 ? 10 : 10U + packet_[8] + 256U * packet_[9];
            case 0xA7:
                return 8;
            default:
                return packet_[2] >= 0xA3 && packet_[2] <= 0xA9 ? 4 : 0;
        }
    }

    Bytes packet_;
    Bytes aside_;
    TimePoint lastByte_{};
};

}  // namespace ovk::fuzz

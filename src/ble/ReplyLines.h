#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace ovk {

/// Splits what the module replies into its lines, which end with CR LF, joining those that arrive
/// in pieces. Owns no port and no clock.
class ReplyLines {
  public:
    /// No reply has so many bytes; what comes beyond them is dropped, so that a module that never
    /// stops sending neither fills the memory nor holds the exchange for ever.
    static constexpr std::size_t kMaxBytes = 65536;

    /// Takes what one read has given.
    void append(std::span<const std::uint8_t> chunk);

    /// The lines without their ends, empty ones included; the last one may still lack its end.
    const std::vector<std::string>& lines() const { return lines_; }
    /// True when at least so many lines are there and the last one has ended.
    bool isComplete(std::size_t count) const {
        return !isLastLineOpen_ && !lines_.empty() && lines_.size() >= count;
    }
    bool isFull() const { return size_ >= kMaxBytes; }

  private:
    std::vector<std::string> lines_;
    bool isLastLineOpen_ = false;
    std::size_t size_ = 0;
};

}  // namespace ovk

#pragma once

#include <chrono>
#include <functional>
#include <optional>

#include "Bytes.h"

namespace vi::wired {

/// Finds the host's packets in the bytes received. Owns no clock.
///
/// A packet that stays incomplete is not discarded as a whole but searched for another start mark:
/// the half packet of a killed host may be followed by the shake-hands of the next one.
class Scanner {
  public:
    /// How long an incomplete packet may wait for its next bytes.
    static constexpr std::chrono::milliseconds kPatience{300};

    using Handler = std::function<void(ByteView)>;

    /// \param packet receives each whole packet; must not call back into the scanner.
    /// \param stray receives the bytes that belong to none.
    Scanner(Handler packet, Handler stray) : packet_(std::move(packet)), stray_(std::move(stray)) {}

    void receive(ByteView bytes, TimePoint now);

    /// To be called when the deadline has come.
    void elapse(TimePoint now);
    std::optional<TimePoint> deadline() const;

    void clear() { buffer_.clear(); }

  private:
    void scan();
    void drop(std::size_t count);
    Bytes take(std::size_t count);
    std::size_t findMark(std::size_t from) const;

    Handler packet_;
    Handler stray_;
    Bytes buffer_;  // begins with a possible packet
    TimePoint lastByte_{};
};

}  // namespace vi::wired

#pragma once

#include <algorithm>
#include <chrono>

namespace ovk {

/// When something is to be over: a moment of the steady clock, or never.
class Deadline {
  public:
    using Clock = std::chrono::steady_clock;

    /// Never.
    constexpr Deadline() = default;
    explicit constexpr Deadline(Clock::time_point moment) : moment_(moment) {}
    static Deadline in(std::chrono::milliseconds time) { return Deadline(Clock::now() + time); }

    bool isNever() const { return moment_ == Clock::time_point::max(); }
    bool isOver() const { return Clock::now() >= moment_; }
    Clock::time_point moment() const { return moment_; }

    /// This time, or less if the deadline comes sooner; never below 0.
    std::chrono::milliseconds limit(std::chrono::milliseconds time) const {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(moment_ - Clock::now());
        return std::clamp(left, std::chrono::milliseconds(0), time);
    }
    /// So much sooner.
    Deadline before(std::chrono::milliseconds time) const {
        return isNever() ? *this : Deadline(moment_ - time);
    }
    /// The end of the first of so many equal parts of the time that is left.
    Deadline firstOf(std::size_t parts) const {
        const auto now = Clock::now();
        return isNever() ? *this
                         : Deadline(now + (moment_ - now) / std::max<std::size_t>(parts, 1));
    }

  private:
    Clock::time_point moment_ = Clock::time_point::max();
};

}  // namespace ovk

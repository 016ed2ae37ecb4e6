#pragma once

#include <chrono>

namespace ovk {

/// The time left for an exchange with the module. Each call takes off the WHOLE time since the start,
/// so that a reply in many pieces gets less time than a prompt one: of 1000 ms, calls after 100, 200
/// and 300 ms leave 900, 700 and 400.
class CumulativeTimeout {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;

    CumulativeTimeout(std::chrono::milliseconds timeout, TimePoint start)
        : remaining_(timeout), start_(start) {}

    /// Takes off the whole milliseconds from the start to `now`.
    void subtractElapsed(TimePoint now) {
        remaining_ -= std::chrono::duration_cast<std::chrono::milliseconds>(now - start_);
    }
    std::chrono::milliseconds remaining() const { return remaining_; }
    bool isUsedUp() const { return remaining_.count() < 1; }

  private:
    std::chrono::milliseconds remaining_;
    TimePoint start_;
};

}  // namespace ovk

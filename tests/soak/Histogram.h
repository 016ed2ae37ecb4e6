#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace cqtest::soak {

/// Counts times in microseconds, in steps of 3 % or less. All its memory is there from the start;
/// any thread may add.
class Histogram {
  public:
    using Microseconds = std::uint64_t;

    void add(std::chrono::steady_clock::duration time) {
        const auto value = static_cast<Microseconds>(std::max<std::int64_t>(
            0, std::chrono::duration_cast<std::chrono::microseconds>(time).count()));
        counts_[placeOf(value)].fetch_add(1, std::memory_order_relaxed);
        Microseconds seen = max_.load(std::memory_order_relaxed);
        while (seen < value && !max_.compare_exchange_weak(seen, value)) {
        }
    }

    std::uint64_t count() const {
        std::uint64_t sum = 0;
        for (const auto& count : counts_) {
            sum += count.load(std::memory_order_relaxed);
        }
        return sum;
    }

    /// A quantile of the recorded times.
    /// \param part 0 to 1.
    Microseconds percentile(double part) const {
        const auto wanted = static_cast<std::uint64_t>(part * static_cast<double>(count()));
        std::uint64_t sum = 0;
        for (std::size_t place = 0; place < counts_.size(); ++place) {
            sum += counts_[place].load(std::memory_order_relaxed);
            if (sum > wanted) {
                return std::min(upperEnd(place), max());
            }
        }
        return max();
    }

    Microseconds max() const { return max_.load(std::memory_order_relaxed); }

  private:
    static constexpr unsigned kStepBits = 5;  // 32 steps from one power of two to the next
    static constexpr Microseconds kSteps = 1U << kStepBits;
    static constexpr unsigned kPowers = 32;  // to more than an hour

    static std::size_t placeOf(Microseconds value) {
        if (value < kSteps) {
            return static_cast<std::size_t>(value);
        }
        const auto power = static_cast<unsigned>(std::bit_width(value)) - 1 - kStepBits;
        const std::size_t place = (power + 1) * kSteps + ((value >> power) & (kSteps - 1));
        return std::min<std::size_t>(place, kSteps * kPowers - 1);
    }

    static Microseconds upperEnd(std::size_t place) {
        if (place < kSteps) {
            return place;
        }
        const std::size_t power = place / kSteps - 1;
        return ((place % kSteps + kSteps + 1) << power) - 1;
    }

    std::array<std::atomic<std::uint64_t>, kSteps * kPowers> counts_{};
    std::atomic<Microseconds> max_{0};
};

}  // namespace cqtest::soak

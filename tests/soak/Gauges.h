#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace cqtest::soak {

/// What the process took of the machine at some time.
struct Reading {
    std::chrono::seconds at;
    std::int64_t rssBytes;
    std::int64_t descriptors;
    std::int64_t threads;
    std::uint64_t operations;

    static Reading now(std::chrono::seconds at, std::uint64_t operations);
};

/// The readings of a run. Has its memory from the start, so that it does not measure itself.
class Gauges {
  public:
    explicit Gauges(std::chrono::seconds duration) {
        readings_.reserve(static_cast<std::size_t>(duration.count()) + 60);
    }

    void add(const Reading& reading) {
        if (readings_.size() < readings_.capacity()) {
            readings_.push_back(reading);
        }
    }
    const std::vector<Reading>& readings() const { return readings_; }

    /// The first reading after 2 minutes, or after a tenth of a shorter run: what the process takes
    /// only once it has taken by then. Null when nothing was read.
    const Reading* settled() const;
    /// From then to the last reading.
    std::int64_t growthBytes() const;

  private:
    std::vector<Reading> readings_;
};

}  // namespace cqtest::soak

#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

#include "soak/Histogram.h"

namespace cqtest::soak {

enum class Kind : std::size_t {
    info,
    status,
    countStandards,
    countSamples,
    calibrate,
    measureStandard,
    measureTrial,
    uploadStandards,
    uploadSamples,
    download,
    deleteStandard,
    deleteSample,
    deleteAll,
    getWhiteBoard,
    setWhiteBoard,
    getParameter,
    setParameter,
    pressed,
    close,
    open,
};
inline constexpr std::size_t kKinds = static_cast<std::size_t>(Kind::open) + 1;

const char* nameOf(Kind kind);

/// What has been done and what came of it. Any thread may add; nothing is allocated.
class Statistics {
  public:
    struct Tally {
        Histogram times;
        std::atomic<std::uint64_t> lost{0};   ///< calls that failed
        std::atomic<std::uint64_t> wrong{0};  ///< calls that succeeded with wrong data
    };

    Tally& of(bool isWired, Kind kind) {
        return tallies_[isWired ? 0 : 1][static_cast<std::size_t>(kind)];
    }
    const Tally& of(bool isWired, Kind kind) const {
        return tallies_[isWired ? 0 : 1][static_cast<std::size_t>(kind)];
    }

    std::uint64_t operations() const;
    std::uint64_t lost() const;
    std::uint64_t wrong() const;

    std::atomic<std::uint64_t> callbacksExpected{0};
    std::atomic<std::uint64_t> callbacksReceived{0};
    std::atomic<std::uint64_t> recordsCompared{0};

    /// Tells the user at once; the first few of them.
    void report(const std::string& problem);

  private:
    std::uint64_t sum(std::uint64_t (*part)(const Tally&)) const;

    std::array<std::array<Tally, kKinds>, 2> tallies_{};
    std::mutex reportMutex_;
    int reported_ = 0;
};

}  // namespace cqtest::soak

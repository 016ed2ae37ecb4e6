#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "operations/Operations.h"

namespace cqtest::soak {

/// What has been done and what came of it. Any thread may add; nothing is allocated once it is made.
class Statistics {
  public:
    struct Tally {
        std::atomic<std::uint64_t> count{0};
        std::atomic<std::uint64_t> failed{0};
        std::atomic<std::uint64_t> microseconds{0};
        std::atomic<std::uint64_t> longest{0};
    };

    Statistics();

    void add(const Operation& operation, Kind kind, std::chrono::steady_clock::duration taken);
    /// Tells the user at once; the first few of them.
    void fail(const Operation& operation, Kind kind, const std::string& problem);

    std::uint64_t operations() const;
    std::uint64_t failed() const;
    void print() const;

  private:
    std::map<std::string, Tally> tallies_[2];
    std::mutex reportMutex_;
    int reported_ = 0;
};

/// What the process took of the machine at some time.
struct Reading {
    std::chrono::seconds at;
    std::int64_t rssBytes;
    std::int64_t descriptors;
    std::int64_t threads;

    static Reading now(std::chrono::seconds at);
};

/// Minutes and seconds, memory, descriptors and threads.
std::string toText(const Reading& reading);

}  // namespace cqtest::soak

#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "soak/Gauges.h"
#include "soak/Statistics.h"

namespace cqtest::soak {

inline constexpr std::int64_t kAllowedGrowth = 1'000'000;  // bytes

struct Run {
    unsigned wired;
    unsigned wireless;
    std::chrono::seconds duration;
    Reading before;  ///< before the first instrument was opened
    Reading after;   ///< when all were closed
};

std::string toMegabytes(std::int64_t bytes);
/// Minutes and seconds.
std::string toClock(std::chrono::seconds at);

/// Prints what was done and what came of it, as text or as Markdown. \return true when nothing was
/// lost, wrong or left behind.
bool printReport(const Run& run, const Statistics& statistics, const Gauges& gauges,
                 bool isMarkdown);

}  // namespace cqtest::soak

#include "Statistics.h"

#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "peer/posix/OwnProcess.h"

namespace cqtest::soak {
namespace {

std::size_t placeOf(Kind kind) {
    return static_cast<std::size_t>(kind);
}

}  // namespace

Statistics::Statistics() {
    for (const Kind kind : {Kind::wired, Kind::wireless}) {
        for (const Operation& operation : cqtest::operations()) {
            tallies_[placeOf(kind)].try_emplace(operation.name);
        }
    }
}

void Statistics::add(const Operation& operation, Kind kind,
                     std::chrono::steady_clock::duration taken) {
    const auto time = static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(taken).count());
    Tally& tally = tallies_[placeOf(kind)].at(operation.name);
    ++tally.count;
    tally.microseconds += time;
    for (std::uint64_t seen = tally.longest; seen < time;) {
        tally.longest.compare_exchange_weak(seen, time);
    }
}

void Statistics::fail(const Operation& operation, Kind kind, const std::string& problem) {
    constexpr int kReported = 50;
    ++tallies_[placeOf(kind)].at(operation.name).failed;
    const std::lock_guard lock(reportMutex_);
    if (reported_ < kReported) {
        ++reported_;
        std::fprintf(stderr, "%s %s: %s\n", kind == Kind::wired ? "wired" : "wireless",
                     operation.name.c_str(), problem.c_str());
    }
}

std::uint64_t Statistics::operations() const {
    std::uint64_t sum = 0;
    for (const auto& link : tallies_) {
        for (const auto& [name, tally] : link) {
            sum += tally.count;
        }
    }
    return sum;
}

std::uint64_t Statistics::failed() const {
    std::uint64_t sum = 0;
    for (const auto& link : tallies_) {
        for (const auto& [name, tally] : link) {
            sum += tally.failed;
        }
    }
    return sum;
}

void Statistics::print() const {
    for (const Kind kind : {Kind::wired, Kind::wireless}) {
        std::printf("\n%-16s %10s %7s %9s %9s\n", kind == Kind::wired ? "wired" : "wireless",
                    "calls", "failed", "mean ms", "max ms");
        for (const auto& [name, tally] : tallies_[placeOf(kind)]) {
            if (const std::uint64_t count = tally.count; count > 0) {
                std::printf(
                    "%-16s %10llu %7llu %9.3f %9.3f\n", name.c_str(),
                    static_cast<unsigned long long>(count),
                    static_cast<unsigned long long>(tally.failed),
                    static_cast<double>(tally.microseconds) / static_cast<double>(count) / 1e3,
                    static_cast<double>(tally.longest) / 1e3);
            }
        }
    }
}

Reading Reading::now(std::chrono::seconds at) {
    std::int64_t total = 0;
    std::int64_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return {at, resident * sysconf(_SC_PAGESIZE), ownDescriptors(), ownThreads()};
}

std::string toText(const Reading& reading) {
    char text[128];
    std::snprintf(text, sizeof(text), "%02lld:%02lld  %.2f MB, %lld descriptors, %lld threads",
                  static_cast<long long>(reading.at.count() / 60),
                  static_cast<long long>(reading.at.count() % 60),
                  static_cast<double>(reading.rssBytes) / 1e6,
                  static_cast<long long>(reading.descriptors),
                  static_cast<long long>(reading.threads));
    return text;
}

}  // namespace cqtest::soak

#include "soak/Statistics.h"

#include <cstdio>

namespace cqtest::soak {

const char* nameOf(Kind kind) {
    static constexpr std::array<const char*, kKinds> kNames = {"device information",
                                                               "status",
                                                               "count standards",
                                                               "count samples",
                                                               "calibrate",
                                                               "measure standard",
                                                               "measure trial",
                                                               "upload standards",
                                                               "upload samples",
                                                               "download",
                                                               "delete standard",
                                                               "delete sample",
                                                               "delete all",
                                                               "read white board",
                                                               "write white board",
                                                               "read parameter",
                                                               "write parameter",
                                                               "pressed",
                                                               "close",
                                                               "open"};
    return kNames[static_cast<std::size_t>(kind)];
}

std::uint64_t Statistics::sum(std::uint64_t (*part)(const Tally&)) const {
    std::uint64_t sum = 0;
    for (const auto& link : tallies_) {
        for (const Tally& tally : link) {
            sum += part(tally);
        }
    }
    return sum;
}

std::uint64_t Statistics::operations() const {
    return sum([](const Tally& tally) { return tally.times.count(); });
}

std::uint64_t Statistics::lost() const {
    return sum([](const Tally& tally) { return tally.lost.load(); });
}

std::uint64_t Statistics::wrong() const {
    return sum([](const Tally& tally) { return tally.wrong.load(); });
}

void Statistics::report(const std::string& problem) {
    constexpr int kReported = 50;
    const std::lock_guard lock(reportMutex_);
    if (reported_ < kReported) {
        ++reported_;
        std::fprintf(stderr, "%s\n", problem.c_str());
    }
}

}  // namespace cqtest::soak

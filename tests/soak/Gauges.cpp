#include "soak/Gauges.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <fstream>

#include "peer/posix/OwnProcess.h"

namespace cqtest::soak {
namespace {

std::int64_t residentBytes() {
    std::int64_t total = 0;
    std::int64_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

}  // namespace

Reading Reading::now(std::chrono::seconds at, std::uint64_t operations) {
    return {at, residentBytes(), ownDescriptors(), ownThreads(), operations};
}

const Reading* Gauges::settled() const {
    if (readings_.empty()) {
        return nullptr;
    }
    const auto from =
        std::min<std::chrono::seconds>(std::chrono::minutes(2), readings_.back().at / 10);
    const auto found =
        std::ranges::find_if(readings_, [&](const Reading& reading) { return reading.at >= from; });
    return &*found;  // the last one at the latest
}

std::int64_t Gauges::growthBytes() const {
    const Reading* const first = settled();
    return first == nullptr ? 0 : readings_.back().rssBytes - first->rssBytes;
}

}  // namespace cqtest::soak

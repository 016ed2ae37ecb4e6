#include "soak/Gauges.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iterator>

namespace cqtest::soak {
namespace {

std::int64_t entries(const char* folder) {
    namespace fs = std::filesystem;
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

std::int64_t residentBytes() {
    std::FILE* const file = std::fopen("/proc/self/statm", "r");
    long long total = 0;
    long long resident = 0;
    const bool isRead = file != nullptr && std::fscanf(file, "%lld %lld", &total, &resident) == 2;
    if (file != nullptr) {
        std::fclose(file);
    }
    return isRead ? resident * sysconf(_SC_PAGESIZE) : 0;
}

}  // namespace

Reading Reading::now(std::chrono::seconds at, std::uint64_t operations) {
    return {at, residentBytes(), entries("/proc/self/fd"), entries("/proc/self/task"), operations};
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

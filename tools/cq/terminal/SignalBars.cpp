#include "terminal/SignalBars.h"

namespace cqtool {
namespace {

/// A bar and the signal it needs.
struct Bar {
    const char* sign;
    std::int32_t least;  ///< dBm
};

// 12 dB apart, which in free space is four times the distance. Links work down to about -90 dBm.
constexpr Bar kBars[] = {{"▂", -92}, {"▄", -80}, {"▆", -68}, {"█", -56}};

}  // namespace

std::string signalBars(std::int32_t rssi) {
    std::string bars;
    for (const Bar& bar : kBars) {
        bars += rssi >= bar.least ? bar.sign : "·";
    }
    return bars;
}

}  // namespace cqtool

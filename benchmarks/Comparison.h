#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

namespace cqbench {

using Seconds = std::chrono::duration<double>;

/// The middle one of the values, which are not empty.
inline double median(std::vector<double> values) {
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

template <class Work>
double secondsOf(Work&& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return Seconds(std::chrono::steady_clock::now() - start).count();
}

/// Median durations in seconds.
struct Medians {
    double ours = 0;
    double peers = 0;
};

/// Times two ways of doing the same work, in turn, so that whatever else the machine does meets
/// both alike. Which of them begins changes from round to round.
/// \param state a benchmark with a fixed number of iterations and manual time.
template <class State, class Ours, class Peers>
Medians compare(State& state, Ours&& ours, Peers&& peers) {
    ours();
    peers();
    std::vector<double> oursSeconds;
    std::vector<double> peersSeconds;
    for (auto _ : state) {
        static_cast<void>(_);
        const bool isOursFirst = oursSeconds.size() % 2 == 0;
        if (!isOursFirst) {
            peersSeconds.push_back(secondsOf(peers));
        }
        oursSeconds.push_back(secondsOf(ours));
        if (isOursFirst) {
            peersSeconds.push_back(secondsOf(peers));
        }
        state.SetIterationTime(oursSeconds.back());
    }
    return {median(oursSeconds), median(peersSeconds)};
}

}  // namespace cqbench

#pragma once

#include <benchmark/benchmark.h>

#include <exception>
#include <functional>
#include <string>

/// \file
/// The benchmarks, by what they measure. Each function registers its own.

namespace cqbench {

/// Status requests and transfers of stored standards, over a pseudo-terminal.
void addLineBenchmarks();
/// Many instruments at once, and open ones that do nothing.
void addManyInstrumentsBenchmarks();
/// Packets taken from memory.
void addReceivePathBenchmark();
void addColorBenchmarks();

/// Registers a benchmark that times itself, run once with so many rounds. One that throws counts as
/// failed; the others go on.
inline void add(const std::string& name, int rounds,
                const std::function<void(benchmark::State&)>& body) {
    const auto run = [body](benchmark::State& state) {
        try {
            body(state);
        } catch (const std::exception& error) {
            state.SkipWithError(error.what());
        }
    };
    benchmark::RegisterBenchmark(name.c_str(), run)
        ->Iterations(rounds)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
}

}  // namespace cqbench

#include <dlfcn.h>

#include <stdexcept>
#include <vector>

#include "Benchmarks.h"
#include "Comparison.h"
#include "peer/Session.h"
#include "Results.h"

namespace cqbench {
namespace {

constexpr std::uint16_t kPacket = 64;
constexpr std::uint32_t kStandards = 200;

/// The library compiled without the calls of the debug log, loaded beside the usual one.
Library loadWithoutLog() {
    void* const loaded = dlopen(CQBENCH_WITHOUT_LOG, RTLD_NOW | RTLD_LOCAL);
    if (loaded == nullptr) {
        throw std::runtime_error(dlerror());
    }
    const auto find = [loaded](const char* name, auto& function) {
        void* const address = dlsym(loaded, name);
        if (address == nullptr) {
            throw std::runtime_error(dlerror());
        }
        function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(address);
    };
    Library library;
    find("cqOpen", library.open);
    find("cqClose", library.close);
    find("cqUploadStandards", library.uploadStandards);
    return library;
}

void logOff(benchmark::State& state) {
    const Library usual;
    const Library withoutLog = loadWithoutLog();
    // One instrument each time: which of two the scheduler likes better would weigh more than the
    // log does.
    const ScriptedInstrument instrument(kPacket);
    std::vector<CqMeasurementRecord> records(kStandards);
    std::vector<double> oursSeconds;
    std::vector<double> peersSeconds;
    const auto measure = [&](const Library& library, std::vector<double>& seconds) {
        const Session session(instrument, library);
        const auto upload = [&] {
            require(library.uploadStandards(session.handle(), records.data(), 0, kStandards));
        };
        upload();
        for (int i = 0; i < 10; ++i) {
            seconds.push_back(secondsOf(upload));
        }
    };
    for (auto _ : state) {
        static_cast<void>(_);
        measure(usual, oursSeconds);
        measure(withoutLog, peersSeconds);
        state.SetIterationTime(oursSeconds.back());
    }
    // Medians tell how busy the machine was rather than what the log costs.
    results().push_back({.what = "upload, debug log compiled in and off",
                         .unit = "us a record",
                         .figure = quickTenth(oursSeconds) / kStandards * 1e6,
                         .peerName = "compiled without its calls",
                         .peer = quickTenth(peersSeconds) / kStandards * 1e6,
                         .bound = Bound::atMost,
                         .goal = 1.01});
}

}  // namespace

void addLogBenchmark() {
    add("log-off", 100, logOff);
}

}  // namespace cqbench

#include <sys/resource.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Benchmarks.h"
#include "Comparison.h"
#include "peer/Session.h"
#include "Results.h"

namespace cqbench {
namespace {

constexpr std::uint16_t kPacket = 64;
constexpr std::uint32_t kStandards = 100;

/// A number of instruments, each opened by a host thread of its own.
class Fleet {
  public:
    explicit Fleet(std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) {
            instruments_.push_back(std::make_unique<ScriptedInstrument>(kPacket));
            sessions_.push_back(std::make_unique<Session>(*instruments_.back()));
        }
    }

    /// Every host uploads standards, all at once, so many times.
    void upload(std::size_t times) const {
        std::vector<std::thread> hosts;
        for (const auto& session : sessions_) {
            hosts.emplace_back([&session, times] {
                std::vector<CqMeasurementRecord> records(kStandards);
                for (std::size_t i = 0; i < times; ++i) {
                    require(cqUploadStandards(session->handle(), records.data(), 0, kStandards));
                }
            });
        }
        for (std::thread& host : hosts) {
            host.join();
        }
    }

  private:
    std::vector<std::unique_ptr<ScriptedInstrument>> instruments_;
    std::vector<std::unique_ptr<Session>> sessions_;
};

/// The same number of records through many instruments and through few.
void uploadAtOnce(benchmark::State& state, std::size_t many, std::size_t few, double goal) {
    constexpr std::size_t kUploads = 64;
    const Fleet large(many);
    const Fleet small(few);
    const auto times = compare(
        state, [&] { large.upload(kUploads / many); }, [&] { small.upload(kUploads / few); });
    constexpr auto kRecords = static_cast<double>(kUploads * kStandards);
    results().push_back(
        {.what = std::to_string(many) + " instruments at once, in all",
         .unit = "records/s",
         .figure = kRecords / times.ours,
         .peerName = few == 1 ? "1 instrument" : std::to_string(few) + " instruments",
         .peer = kRecords / times.peers,
         .bound = Bound::atLeast,
         .goal = goal});
}

double processorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void idle(benchmark::State& state) {
    constexpr std::size_t kInstruments = 32;
    constexpr std::chrono::seconds kTime{2};
    const Fleet fleet(kInstruments);
    std::vector<double> shares;
    for (auto _ : state) {
        static_cast<void>(_);
        const double before = processorSeconds();
        const double elapsed = secondsOf([&] { std::this_thread::sleep_for(kTime); });
        shares.push_back((processorSeconds() - before) / elapsed / kInstruments);
        state.SetIterationTime(elapsed);
    }
    results().push_back({.what = "open instrument, idle",
                         .unit = "% of a core",
                         .figure = median(shares) * 100,
                         .peerName = "limit",
                         .peer = 0.1,
                         .bound = Bound::atMost,
                         .goal = 1});
}

}  // namespace

void addManyInstrumentsBenchmarks() {
    add("instruments/8", 15, [](benchmark::State& state) { uploadAtOnce(state, 8, 1, 1); });
    add("instruments/32", 15, [](benchmark::State& state) { uploadAtOnce(state, 32, 8, 0.9); });
    add("idle", 3, idle);
}

}  // namespace cqbench

#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "Allocations.h"
#include "Benchmarks.h"
#include "Comparison.h"
#include "peer/BareHost.h"
#include "peer/Session.h"
#include "Results.h"

namespace cqbench {
namespace {

constexpr std::uint16_t kSmallPacket = 64;
constexpr std::uint16_t kLargePacket = 1024;
constexpr std::uint32_t kManyStandards = 10'000;
constexpr std::uint32_t kFewStandards = 100;
constexpr double kMega = 1e6;
/// What USB gives, each way.
constexpr std::chrono::microseconds kUsb{1000};

using Records = std::vector<CqMeasurementRecord>;

/// The library and the bare host, each with an instrument of its own.
struct Line {
    explicit Line(std::uint16_t maxPacket, std::chrono::microseconds latency = {})
        : ourInstrument(maxPacket, latency),
          peersInstrument(maxPacket, latency),
          session(ourInstrument),
          bare(peersInstrument) {}

    void upload(Records& records) const {
        require(cqUploadStandards(session.handle(), records.data(), 0,
                                  static_cast<std::uint32_t>(records.size())));
    }
    void download(const Records& records) const {
        require(cqDownloadStandards(session.handle(), records.data(),
                                    static_cast<std::uint32_t>(records.size())));
    }

    ScriptedInstrument ourInstrument;
    ScriptedInstrument peersInstrument;
    Session session;
    BareHost bare;
};

/// What a row of the table calls the line.
std::string lineName(std::chrono::microseconds latency) {
    return latency.count() == 0 ? "" : ", 1 ms latency each way";
}

void requestStatus(benchmark::State& state, std::chrono::microseconds latency, double goal) {
    const int kRequests = latency.count() == 0 ? 100 : 10;
    Line line(kSmallPacket, latency);
    const auto times = compare(
        state,
        [&] {
            for (int i = 0; i < kRequests; ++i) {
                CqInstrumentStatus status;
                require(cqGetInstrumentStatus(line.session.handle(), &status));
            }
        },
        [&] {
            for (int i = 0; i < kRequests; ++i) {
                line.bare.requestStatus();
            }
        });
    results().push_back({.what = "status request" + lineName(latency),
                         .unit = "us",
                         .figure = times.ours / kRequests * kMega,
                         .peerName = "bare loop",
                         .peer = times.peers / kRequests * kMega,
                         .bound = Bound::atMost,
                         .goal = goal});
}

/// \param isUpload from the instrument; else to it.
void transfer(benchmark::State& state, bool isUpload, std::uint16_t maxPacket,
              std::chrono::microseconds latency, double goal) {
    Line line(maxPacket, latency);
    const std::uint32_t count = latency.count() == 0 ? kManyStandards : kFewStandards;
    line.bare.prepare(count);
    Records records(count);
    const auto times = compare(
        state, [&] { isUpload ? line.upload(records) : line.download(records); },
        [&] { isUpload ? line.bare.upload() : line.bare.download(); });
    const double megabytes = static_cast<double>(records.size() * sizeof(records[0])) / kMega;
    results().push_back({.what = std::string(isUpload ? "upload" : "download") + " of " +
                                 std::to_string(count) + " standards, packets of " +
                                 std::to_string(maxPacket) + lineName(latency),
                         .unit = "MB/s",
                         .figure = megabytes / times.ours,
                         .peerName = "bare train",
                         .peer = megabytes / times.peers,
                         .bound = Bound::atLeast,
                         .goal = goal});
}

/// From the button to the callback, when a call has just ended.
void pressedMeasurement(benchmark::State& state) {
    struct Host {
        std::mutex mutex;
        std::condition_variable arrived;
        std::size_t count = 0;
        ScriptedInstrument::Clock::time_point at;

        static void callback(bool, const CqMeasurementRecord*, void* user) {
            auto& self = *static_cast<Host*>(user);
            const std::lock_guard lock(self.mutex);
            self.at = ScriptedInstrument::Clock::now();
            ++self.count;
            self.arrived.notify_all();
        }
    } host;
    ScriptedInstrument instrument(kLargePacket);
    const Session session(instrument);
    cqSetMeasurementResultReceivedCallback(session.handle(), &Host::callback, &host);
    instrument.pressAfterReplies();
    std::vector<double> seconds;
    for (auto _ : state) {
        static_cast<void>(_);
        CqInstrumentStatus status;
        require(cqGetInstrumentStatus(session.handle(), &status));
        std::unique_lock lock(host.mutex);
        host.arrived.wait_for(lock, std::chrono::seconds(1),
                              [&] { return host.count > seconds.size(); });
        seconds.push_back(Seconds(host.at - instrument.pressedAt()).count());
        state.SetIterationTime(seconds.back());
    }
    results().push_back({.what = "pressed measurement to callback, right after a call",
                         .unit = "us",
                         .figure = median(seconds) * kMega,
                         .peerName = "limit",
                         .peer = 2000,
                         .bound = Bound::atMost,
                         .goal = 1});
}

/// How often the library allocates for a large packet, everything that a call does counted.
void allocationsPerPacket(benchmark::State& state, bool isUpload, double limit) {
    Line line(kLargePacket);
    line.bare.prepare(kManyStandards);
    Records records(kManyStandards);
    const auto move = [&] { isUpload ? line.upload(records) : line.download(records); };
    move();
    std::uint64_t before = 0;
    for (auto _ : state) {
        static_cast<void>(_);
        before = allocations();
        state.SetIterationTime(secondsOf(move));
    }
    const auto count = static_cast<double>(allocations() - before);
    const std::size_t packets = isUpload ? line.bare.uploadPackets() : line.bare.downloadPackets();
    results().push_back({.what = std::string("allocations to ") + (isUpload ? "receive" : "send") +
                                 " a packet of 1024",
                         .unit = "",
                         .figure = count / static_cast<double>(packets),
                         .peerName = "limit",
                         .peer = limit,
                         .bound = Bound::atMost,
                         .goal = 1});
}

/// A transfer of many records against as many records in small portions.
void growth(benchmark::State& state, bool isUpload, std::uint32_t count) {
    constexpr std::uint32_t kPortion = 100;
    Line line(kSmallPacket);
    Records records(count);
    Records portion(kPortion);
    const auto move = [&](Records& moved) { isUpload ? line.upload(moved) : line.download(moved); };
    const auto times = compare(
        state, [&] { move(records); },
        [&] {
            for (std::uint32_t done = 0; done < count; done += kPortion) {
                move(portion);
            }
        });
    results().push_back({.what = std::string(isUpload ? "upload" : "download") + " of " +
                                 std::to_string(count) + " records, time a record",
                         .unit = "us",
                         .figure = times.ours / count * kMega,
                         .peerName = "in hundreds",
                         .peer = times.peers / count * kMega,
                         .bound = Bound::atMost,
                         .goal = 1.1});
}

}  // namespace

void addLineBenchmarks() {
    add("status", 100, [](benchmark::State& state) { requestStatus(state, {}, 2.0); });
    add("status/usb", 30, [](benchmark::State& state) { requestStatus(state, kUsb, 1.05); });
    add("pressed", 500, pressedMeasurement);
    for (const bool isUpload : {true, false}) {
        const std::string direction = isUpload ? "upload" : "download";
        add(direction + "/64", 15, [isUpload](benchmark::State& state) {
            transfer(state, isUpload, kSmallPacket, {}, 0.8);
        });
        add(direction + "/1024", 61, [isUpload](benchmark::State& state) {
            transfer(state, isUpload, kLargePacket, {}, 0.8);
        });
        add(direction + "/usb", 5, [isUpload](benchmark::State& state) {
            transfer(state, isUpload, kLargePacket, kUsb, 0.95);
        });
        add(direction + "/allocations", 1, [isUpload](benchmark::State& state) {
            allocationsPerPacket(state, isUpload, isUpload ? 0.1 : 2.1);
        });
        for (const std::uint32_t count : {1'000U, kManyStandards}) {
            add(direction + "/growth/" + std::to_string(count), count == kManyStandards ? 9 : 31,
                [isUpload, count](benchmark::State& state) { growth(state, isUpload, count); });
        }
    }
}

}  // namespace cqbench

#include "reliability/posix/RemovalBench.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <iostream>
#include <optional>
#include <sstream>
#include <thread>

namespace cqtest {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

/// What a call may take beyond its time-out, on a machine that is busy with all cases at once.
constexpr auto kScheduling = 1500ms;
/// How many instruments start or come back at once.
constexpr std::size_t kAtOnce = 12;

double processorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// Waits until the log has grown no more for a while: the last packet of an operation may reach the
/// instrument after the operation has returned.
int countPackets(const VirtualInstrument& instrument, const std::string& mark) {
    int count = -1;
    for (int last = -2; count != last;) {
        last = count;
        count = 0;
        std::this_thread::sleep_for(100ms);
        std::istringstream log(instrument.lineLog());
        for (std::string line; std::getline(log, line);) {
            count += line.find(mark) != std::string::npos ? 1 : 0;
        }
    }
    return count;
}

/// An operation during which the instrument goes away.
class RemovalCase {
  public:
    RemovalCase(const Reach& reach, const Operation& operation, int packet, bool isLastPacket)
        : reach_(reach), operation_(operation), packet_(packet), isLastPacket_(isLastPacket) {}

    std::string name() const {
        return std::string(operation_.name) + ", packet " + std::to_string(packet_);
    }

    void start() {
        instrument_.emplace(reach_.options +
                            " --fault unplug:" + std::to_string(reach_.packetsOfOpening + packet_));
        handle_ = reach_.open(instrument_->portName());
        EXPECT_NE(handle_, nullptr) << name();
    }

    void runIntoRemoval() {
        const auto start = Clock::now();
        const std::uint32_t code = operation_.run(handle_);
        const auto taken =
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
        EXPECT_LE(taken.count(), (operation_.patience + kScheduling).count()) << name();
        // The last packet may be the acknowledgement of a whole reply.
        const auto& codes = reach_.codesOfRemoval;
        const bool isExpected = std::find(codes.begin(), codes.end(), code) != codes.end() ||
                                (isLastPacket_ && code == CQ_NO_ERROR);
        EXPECT_TRUE(isExpected) << name() << ": code " << code;
    }

    void comeBack() {
        EXPECT_EQ(operation_.run(handle_), CQ_DEVICE_IS_CLOSED) << name();
        const auto start = Clock::now();
        cqClose(handle_);
        EXPECT_LT(Clock::now() - start, 3s) << name() << ": closing";
        instrument_->plugIn();
        const CqHandle again = openOnReturn(reach_, *instrument_);
        ASSERT_NE(again, nullptr) << name() << ": opening again";
        EXPECT_EQ(operation_.run(again), CQ_NO_ERROR) << name() << ": after it came back";
        cqClose(again);
        instrument_.reset();
    }

  private:
    const Reach& reach_;
    const Operation& operation_;
    int packet_;
    bool isLastPacket_;
    std::optional<VirtualInstrument> instrument_;
    CqHandle handle_ = nullptr;
};

using Cases = std::vector<std::unique_ptr<RemovalCase>>;

Cases makeCases(const Reach& reach, const std::vector<Operation>& operations) {
    Cases cases;
    const VirtualInstrument instrument(reach.options);
    const CqHandle handle = reach.open(instrument.portName());
    int before = countPackets(instrument, reach.packetMark);
    EXPECT_EQ(before, reach.packetsOfOpening);
    for (const Operation& operation : operations) {
        EXPECT_EQ(operation.run(handle), CQ_NO_ERROR) << operation.name;
        const int after = countPackets(instrument, reach.packetMark);
        EXPECT_GT(after, before) << operation.name;
        for (int packet = 1; packet <= after - before; ++packet) {
            const bool isLast = packet == after - before;
            cases.push_back(std::make_unique<RemovalCase>(reach, operation, packet, isLast));
        }
        before = after;
    }
    cqClose(handle);
    return cases;
}

/// Does the step of every case, so many at a time. Returns before they are done: join them.
std::vector<std::thread> doForAll(Cases& cases, void (RemovalCase::*step)(), std::size_t atOnce,
                                  std::atomic<std::size_t>& next) {
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < std::min(atOnce, cases.size()); ++i) {
        threads.emplace_back([&cases, &next, step] {
            for (std::size_t number = next++; number < cases.size(); number = next++) {
                (*cases[number].*step)();
            }
        });
    }
    return threads;
}

void joinAll(std::vector<std::thread> threads) {
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// All calls wait for at least two seconds, most of them longer: this looks at the second one.
void expectIdleProcessor() {
    std::this_thread::sleep_for(1s);
    const double before = processorSeconds();
    const auto start = Clock::now();
    std::this_thread::sleep_for(900ms);
    const std::chrono::duration<double> waited = Clock::now() - start;
    const double share = (processorSeconds() - before) / waited.count();
    EXPECT_LT(share, 0.1) << "a spinning thread would take a whole processor";
    std::cout << "processor in use while all wait: " << share * 100 << " %\n";
}

}  // namespace

std::uint32_t deviceInfo(CqHandle handle) {
    CqDeviceInfo info;
    return cqGetDeviceInfo(handle, &info);
}

std::uint32_t status(CqHandle handle) {
    CqInstrumentStatus status;
    return cqGetInstrumentStatus(handle, &status);
}

std::uint32_t measureTrial(CqHandle handle) {
    CqMeasurementRecord record;
    return cqMeasureTrial(handle, &record);
}

std::uint32_t countSamples(CqHandle handle) {
    std::uint32_t count = 0;
    return cqGetTotalSamples(handle, &count);
}

std::uint32_t uploadStandards(CqHandle handle) {
    CqMeasurementRecord records[kRecords];
    return cqUploadStandards(handle, records, 0, kRecords);
}

std::uint32_t downloadStandards(CqHandle handle) {
    return cqDownloadStandards(handle, numberedRecords(kRecords).data(), kRecords);
}

std::uint32_t readWhiteBoard(CqHandle handle) {
    CqWhiteBoardParameter parameter;
    return cqGetWhiteBoardParameter(handle, &parameter);
}

CqHandle openOnReturn(const Reach& reach, VirtualInstrument& instrument) {
    waitUntil([&] { return std::filesystem::exists(instrument.portName()); });
    return reach.open(instrument.portName());
}

void pullAtEveryPacket(const Reach& reach, const std::vector<Operation>& operations) {
    Cases cases = makeCases(reach, operations);
    if (testing::Test::HasFailure()) {
        return;  // what fails with an instrument that stays cannot tell anything here
    }
    std::atomic<std::size_t> next{0};
    joinAll(doForAll(cases, &RemovalCase::start, kAtOnce, next));
    next = 0;
    auto waiting = doForAll(cases, &RemovalCase::runIntoRemoval, cases.size(), next);
    expectIdleProcessor();
    joinAll(std::move(waiting));
    next = 0;
    joinAll(doForAll(cases, &RemovalCase::comeBack, kAtOnce, next));
    std::cout << operations.size() << " operations, pulled at " << cases.size() << " points\n";
}

}  // namespace cqtest

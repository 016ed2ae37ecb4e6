// An instrument, or the adapter of a wireless one, is pulled out at any packet of any operation, and
// while a wireless instrument is being opened.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "endtoend/wireless/Wireless.h"
#include "peer/AtOnce.h"

namespace cqtest {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

/// An operation of the library. Its code tells how it went.
struct Operation {
    const char* name;
    std::uint32_t (*run)(CqHandle handle);
    /// How long it may wait for an instrument that is no longer there.
    std::chrono::milliseconds patience;
};

/// How many records the operations below transfer.
constexpr std::uint32_t kRecords = 3;

/// Calls an export that fills in one record or number.
template <typename Record, std::uint32_t (*Export)(CqHandle, Record*)>
std::uint32_t fillIn(CqHandle handle) {
    Record record;
    return Export(handle, &record);
}

/// How an instrument is reached.
struct Reach {
    std::string options;  ///< of the virtual instrument
    CqHandle (*open)(const char* portName);
    std::string packetMark;  ///< what a line of the log has that tells a packet of the host
    int packetsOfOpening;
    std::vector<std::uint32_t> codesOfRemoval;
    std::uint32_t codeAfterwards;
};

/// What a call may take beyond its time-out, on a machine that is busy with all cases at once.
constexpr auto kScheduling = 1500ms;
/// How many instruments start or come back at once.
constexpr std::size_t kAtOnce = 12;

double processorSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
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

/// Waits until the port is there again and opens it, once.
CqHandle openOnReturn(const Reach& reach, VirtualInstrument& instrument) {
    waitUntil([&] { return std::filesystem::exists(instrument.portName()); });
    return reach.open(instrument.portName());
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
        EXPECT_NE(handle_, nullptr);
    }

    void runIntoRemoval() {
        const auto start = Clock::now();
        const std::uint32_t code = operation_.run(handle_);
        const auto taken =
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
        EXPECT_LE(taken.count(), (operation_.patience + kScheduling).count());
        // The last packet may be the acknowledgement of a whole reply.
        const auto& codes = reach_.codesOfRemoval;
        const bool isExpected = std::find(codes.begin(), codes.end(), code) != codes.end() ||
                                (isLastPacket_ && code == CQ_NO_ERROR);
        EXPECT_TRUE(isExpected) << "code " << code;
    }

    void comeBack() {
        EXPECT_EQ(operation_.run(handle_), reach_.codeAfterwards);
        const auto start = Clock::now();
        cqClose(handle_);
        EXPECT_LT(Clock::now() - start, 3s) << "closing";
        instrument_->plugIn();
        const CqHandle again = openOnReturn(reach_, *instrument_);
        ASSERT_NE(again, nullptr) << "opening again";
        EXPECT_EQ(operation_.run(again), CQ_NO_ERROR) << "after it came back";
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

/// Does the step of every case, so many at a time.
void doForAll(Cases& cases, void (RemovalCase::*step)(), std::size_t threads) {
    std::atomic<std::size_t> next{0};
    atOnce(threads, [&](std::size_t) {
        for (std::size_t number = next++; number < cases.size(); number = next++) {
            SCOPED_TRACE(cases[number]->name());
            (*cases[number].*step)();
        }
    });
}

/// On a busy machine the thread sanitizer makes so many calls take longer than a second to begin.
#ifdef __SANITIZE_THREAD__
constexpr bool kCallsBeginAtOnce = false;
#else
constexpr bool kCallsBeginAtOnce = true;
#endif

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

std::uint32_t uploadStandards(CqHandle handle) {
    CqMeasurementRecord records[kRecords];
    return cqUploadStandards(handle, records, 0, kRecords);
}

std::uint32_t downloadStandards(CqHandle handle) {
    return cqDownloadStandards(handle, numberedRecords(kRecords).data(), kRecords);
}

std::uint32_t deleteStandard(CqHandle handle) {
    return cqDeleteStandard(handle, 0);
}

/// Pulls an instrument at every packet of every operation, all cases side by side, and checks that
/// calls end in their time, that waiting costs no processor, and that the instrument is opened again
/// and works once it is back.
void pullAtEveryPacket(const Reach& reach, const std::vector<Operation>& operations) {
    Cases cases = makeCases(reach, operations);
    if (testing::Test::HasFailure()) {
        return;  // what fails with an instrument that stays cannot tell anything here
    }
    doForAll(cases, &RemovalCase::start, kAtOnce);
    std::thread waiting([&] { doForAll(cases, &RemovalCase::runIntoRemoval, cases.size()); });
    if (kCallsBeginAtOnce) {
        expectIdleProcessor();
    }
    waiting.join();
    doForAll(cases, &RemovalCase::comeBack, kAtOnce);
    std::cout << operations.size() << " operations, pulled at " << cases.size() << " points\n";
}

const Reach kWired{"--calibrated --standards 6 --samples 6", &cqOpen,      " host > ", 2,
                   {CQ_NO_SESSION, CQ_SENDING_TIMEOUT},      CQ_NO_SESSION};

std::uint32_t uploadAllSamples(CqHandle handle) {
    CqMeasurementRecord records[6];
    return cqUploadSamples(handle, records, 0, 4, CQ_ALL_RECORDS);
}

std::uint32_t writeWhiteBoard(CqHandle handle) {
    const CqWhiteBoardParameter parameter{};
    return cqSetWhiteBoardParameter(handle, &parameter);
}

std::uint32_t readParameter(CqHandle handle) {
    std::uint32_t value = 0;
    return cqGetMeasurementParameter(handle, 7, &value);
}

TEST(WiredRemoval, AtEveryPacketEndsEveryCallInItsTime) {
    pullAtEveryPacket(
        kWired,
        {{"device information", &fillIn<CqDeviceInfo, cqGetDeviceInfo>, 5s},
         {"status", &fillIn<CqInstrumentStatus, cqGetInstrumentStatus>, 5s},
         {"calibrate white", &cqCalibrateWhite, 15s},
         {"calibrate black", &cqCalibrateBlack, 15s},
         {"measure", &fillIn<CqMeasurementRecord, cqMeasureTrial>, 15s},
         {"count samples", &fillIn<std::uint32_t, cqGetTotalSamples>, 5s},
         {"upload standards", &uploadStandards, 5s + kRecords * 50ms},
         {"upload all samples", &uploadAllSamples, 5s},
         {"download standards", &downloadStandards, 5s},
         {"read white board", &fillIn<CqWhiteBoardParameter, cqGetWhiteBoardParameter>, 5s},
         {"write white board", &writeWhiteBoard, 5s},
         {"read parameter", &readParameter, 5s},
         {"write parameter",
          [](CqHandle handle) { return cqSetMeasurementParameter(handle, 7, 1); }, 5s},
         {"delete standard", &deleteStandard, 5s},
         {"delete sample", [](CqHandle handle) { return cqDeleteSample(handle, 0, 0); }, 5s},
         {"delete all", &cqDeleteAllRecords, 30s}});
}

CqHandle openFirst(const char* portName) {
    return cqOpenByBleDongle(portName, kFirstAddress);
}

const Reach kWireless{"--adapter --calibrated --standards 6 --samples 6",
                      &openFirst,
                      " host > request",
                      1,
                      {CQ_DEVICE_IS_CLOSED, CQ_RECEIVING_TIMEOUT, CQ_SYSTEM_ERROR},
                      CQ_DEVICE_IS_CLOSED};

TEST(WirelessRemoval, AtEveryPacketEndsEveryCallInItsTime) {
    pullAtEveryPacket(
        kWireless,
        {{"device information", &fillIn<CqDeviceInfo, cqGetDeviceInfo>, 2s},
         {"status", &fillIn<CqInstrumentStatus, cqGetInstrumentStatus>, 2s},
         {"calibrate white", &cqCalibrateWhite, 10s},
         {"measure", &fillIn<CqMeasurementRecord, cqMeasureTrial>, 8s},
         {"count samples", &fillIn<std::uint32_t, cqGetTotalSamples>, 2s},
         {"upload standards", &uploadStandards, 2s},
         {"download standards", &downloadStandards, 2s},
         {"read white board", &fillIn<CqWhiteBoardParameter, cqGetWhiteBoardParameter>, 2s},
         {"delete standard", &deleteStandard, 10s}});
}

/// Pulls the adapter so long after the opening began.
void pullWhileOpening(std::chrono::milliseconds after) {
    SCOPED_TRACE(std::to_string(after.count()) + " ms after the opening began");
    VirtualInstrument adapter("--adapter --at-delay 50");
    std::thread puller([&adapter, after] {
        std::this_thread::sleep_for(after);
        adapter.unplug();
    });
    const auto start = Clock::now();
    const CqHandle handle = openFirst(adapter.portName());
    EXPECT_LT(Clock::now() - start, 8s);
    puller.join();
    if (handle != nullptr) {
        std::uint32_t count = 0;
        EXPECT_EQ(cqGetTotalStandards(handle, &count), CQ_DEVICE_IS_CLOSED);
        cqClose(handle);
    }
    adapter.plugIn();
    const CqHandle again = openOnReturn(kWireless, adapter);
    EXPECT_NE(again, nullptr);
    EXPECT_EQ(totalStandards(again), 0U);
    cqClose(again);
}

TEST(WirelessRemoval, DuringTheOpeningEndsIt) {
    constexpr auto kMoments =
        std::to_array({20ms, 80ms, 150ms, 250ms, 350ms, 450ms, 700ms, 1500ms});
    atOnce(kMoments.size(), [&](std::size_t i) { pullWhileOpening(kMoments[i]); });
}

}  // namespace
}  // namespace cqtest

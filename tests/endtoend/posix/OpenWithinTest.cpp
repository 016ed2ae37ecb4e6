// Openings that have a limit: they end in time wherever they get stuck, say why, and leave nothing
// behind.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <future>

#include "endtoend/wireless/Wireless.h"
#include "peer/Rounds.h"
#include "serial/posix/PseudoTerminal.h"

namespace cqtest {
namespace {

using Clock = std::chrono::steady_clock;
using ovk::test::hex;
using ovk::test::PseudoTerminal;

constexpr std::uint32_t kBriefly = 200;
constexpr auto kLateness = std::chrono::milliseconds(50);

/// Reads until what has come ends with this: a busy machine may have asked more often before.
void awaitEnd(const PseudoTerminal& terminal, const ovk::test::Bytes& end) {
    ovk::test::Bytes seen;
    while (seen.size() < end.size() || !std::equal(end.rbegin(), end.rend(), seen.rbegin())) {
        const auto some = terminal.receiveSome(kPatience);
        ASSERT_FALSE(some.empty()) << "only " << ovk::test::hexText(seen);
        seen.insert(seen.end(), some.begin(), some.end());
    }
}

std::size_t entriesOf(const char* folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

/// Opens in vain, several times: each ends in time, and the last leaves what the first has found.
/// On a busy machine, where the adapter may miss its own times, one of three tries counts.
template <class Open>
void expectInTime(const Open& open, std::uint32_t milliseconds, const char* what) {
    CqHandle first = nullptr;
    open(milliseconds, &first);  // a sanitizer may start a thread of its own beside the first one
    const std::size_t descriptors = entriesOf("/proc/self/fd");
    const std::size_t threads = entriesOf("/proc/self/task");
    for (int round = roundsOr(2); round > 0; --round) {
        std::uint32_t code = CQ_NO_ERROR;
        auto late = Clock::duration::max();
        for (int attempt = 0; attempt < 3 && (code != CQ_RECEIVING_TIMEOUT || late > kLateness);
             ++attempt) {
            CqHandle handle = &handle;
            const auto start = Clock::now();
            code = open(milliseconds, &handle);
            late = Clock::now() - start - std::chrono::milliseconds(milliseconds);
            EXPECT_EQ(handle, nullptr) << what;
        }
        EXPECT_EQ(code, CQ_RECEIVING_TIMEOUT) << what;
        EXPECT_LE(late, kLateness) << what;
    }
    EXPECT_EQ(entriesOf("/proc/self/fd"), descriptors) << what;
    EXPECT_EQ(entriesOf("/proc/self/task"), threads) << what;
}

TEST(OpenWithin, SaysWhyThereIsNoHandle) {
    VirtualInstrument instrument;
    CqHandle handle = &handle;
    EXPECT_EQ(cqOpenWithin("/dev/no-such-port", 5000, &handle), CQ_FAIL_TO_OPEN);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(cqOpenByBleDongleWithin("/dev/no-such-port", nullptr, 5000, &handle),
              CQ_FAIL_TO_OPEN);
    EXPECT_EQ(cqOpenWithin(instrument.portName(), 5000, &handle), CQ_NO_ERROR);
    CqHandle second = nullptr;
    EXPECT_EQ(cqOpenWithin(instrument.portName(), 5000, &second), CQ_FAIL_TO_OPEN) << "in use";
    EXPECT_EQ(totalStandards(handle), 0U);
    cqClose(handle);
    EXPECT_EQ(cqOpenWithin(instrument.portName(), 0xFFFFFFFF, &handle), CQ_NO_ERROR);
    cqClose(handle);
}

TEST(OpenWithin, EndsInTimeOnAWiredPort) {
    const PseudoTerminal silent;
    const PseudoTerminal full;
    const int other = open(full.path().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    const PseudoTerminal half;
    std::atomic<bool> isOver{false};
    // It answers each request with the beginning of an answer; the full one is never read from.
    std::thread instruments([&] {
        while (!isOver) {
            if (!half.receiveSome(std::chrono::milliseconds(5)).empty()) {
                half.send(hex("AA 55 A2 07 00 40"));
            }
            const std::array<char, 512> bytes{};
            static_cast<void>(write(other, bytes.data(), bytes.size()));
        }
    });
    for (const auto& [terminal, what] :
         {std::pair{&silent, "silent"}, {&full, "full"}, {&half, "half an answer"}}) {
        const std::string port = terminal->path();
        expectInTime(
            [&](std::uint32_t milliseconds, CqHandle* handle) {
                return cqOpenWithin(port.c_str(), milliseconds, handle);
            },
            kBriefly, what);
    }
    isOver = true;
    instruments.join();
    close(other);
}

TEST(OpenWithin, EndsInTimeAtEachStepOfTheAdapter) {
    for (const char* options : {"--fault at-silent:1", "--fault at-silent:3", "--fault at-silent:7",
                                "--fault at-silent:8", "--fault ble-silent:0", "--fault no-link"}) {
        const Adapter adapter(options);
        expectInTime(
            [&](std::uint32_t milliseconds, CqHandle* handle) {
                return cqOpenByBleDongleWithin(adapter.portName(), kFirstAddress, milliseconds,
                                               handle);
            },
            900, options);
    }
}

// The link that has come up by then is taken down: the next host finds the module free.
TEST(OpenWithin, LeavesNoLinkBehind) {
    const Adapter adapter("--fault ble-silent:0");
    std::string log;
    for (std::uint32_t time = 1500; time < 10'000; time *= 2) {  // until the link comes up in it
        CqHandle handle = nullptr;
        EXPECT_EQ(cqOpenByBleDongleWithin(adapter.portName(), kFirstAddress, time, &handle),
                  CQ_RECEIVING_TIMEOUT);
        log = adapter.lineLog();
        if (log.find("tells +CONNECTED") != log.npos) {
            break;
        }
    }
    EXPECT_GT(log.rfind("answer +DISCONNECT"), log.find("tells +CONNECTED"));
}

// Opening may wait no longer for room on the line than it has time; what comes later may.
TEST(OpenWithin, LeavesLaterCallsTheirTime) {
    using ovk::test::acknowledgement;
    using ovk::test::Bytes;
    using ovk::test::dataPacket;
    const PseudoTerminal terminal;
    const std::vector<CqMeasurementRecord> records(250);
    auto downloaded = std::async(std::launch::async, [&] {
        CqHandle handle = nullptr;
        EXPECT_EQ(cqOpenWithin(terminal.path().c_str(), 10'000, &handle), CQ_NO_ERROR);
        return std::pair(handle, cqDownloadStandards(handle, records.data(), 250));
    });
    terminal.receive(9);
    terminal.send(ovk::test::sessionOffer(7, 0xFFFF));
    const auto answer = [&](Bytes reply, std::size_t size) {
        awaitEnd(terminal, dataPacket(0, ovk::test::kLast, Bytes(1, reply[0]), "55 AA"));
        reply.resize(1 + size, 1);  // there is room for many
        terminal.send(acknowledgement(0, 1));
        terminal.send(dataPacket(0, ovk::test::kLast, reply));
    };
    answer({0x21}, sizeof(CqDeviceInfo));
    answer({0x2A, 0, 0, 0, 0}, 4);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));  // the line is full meanwhile
    // The acknowledgement of the reply, and a packet with all the records.
    const std::size_t size = 8 + 12 + 1 + 250 * sizeof(CqMeasurementRecord);
    EXPECT_EQ(terminal.receive(size).size(), size);
    terminal.send(acknowledgement(0, 1));
    const auto [handle, code] = downloaded.get();
    EXPECT_EQ(code, CQ_NO_ERROR);
    std::thread closing([handle = handle] { cqClose(handle); });
    terminal.receive(4);
    terminal.send(hex("AA 55 A5 07"));
    closing.join();
}

// It has not heard the first request, or hears two at once: the session is that of the last.
TEST(OpenWithin, FindsAnInstrumentThatIsStillStarting) {
    for (const bool hasHeardBoth : {false, true}) {
        const PseudoTerminal terminal;
        auto opened = std::async(std::launch::async, [&] {
            CqHandle handle = nullptr;
            EXPECT_EQ(cqOpenWithin(terminal.path().c_str(), 10'000, &handle), CQ_NO_ERROR);
            return handle;
        });
        const auto request = hex("55 AA A1 00 00 00 02 00 02");
        awaitEnd(terminal, ovk::test::joined({request, request}));
        if (hasHeardBoth) {
            terminal.send(hex("AA 55 A2 07 00 40 00 00 00 00 00 00 00"));
            awaitEnd(terminal, hex("55 AA A3 07"));
        }
        terminal.send(hex("AA 55 A2 08 00 40 00 00 00 00 00 00 00"));
        awaitEnd(terminal, hex("55 AA A3 08"));
        const CqHandle handle = opened.get();
        std::thread closing([&] { cqClose(handle); });
        EXPECT_EQ(terminal.receive(4), hex("55 AA A4 08"));
        terminal.send(hex("AA 55 A5 08"));
        closing.join();
    }
}

}  // namespace
}  // namespace cqtest

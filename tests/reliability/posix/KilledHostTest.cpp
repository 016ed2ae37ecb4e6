// A host is killed in the middle of an upload, a download or a measurement, at any moment. What must
// survive: the next host opens the instrument at its first try and reads right data, every record
// byte for byte.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <iostream>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "endtoend/wireless/Wireless.h"
#include "peer/AtOnce.h"
#include "peer/MeasuredRecord.h"
#include "reliability/posix/StockRecords.h"
#include "reliability/Rounds.h"

namespace cqtest {
namespace {

using std::chrono::milliseconds;

constexpr std::array<const char*, 3> kOperations{"upload", "download", "measure"};

/// A process that works with an instrument until it is killed.
class DoomedHost {
  public:
    /// \param address of a wireless instrument; empty for a wired one.
    DoomedHost(const std::string& port, const char* operation, const std::string& address) {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        process_ = fork();
        if (process_ == 0) {
            dup2(ends[1], STDOUT_FILENO);
            execl(CQAPI_TEST_DOOMED_HOST, CQAPI_TEST_DOOMED_HOST, port.c_str(), operation,
                  address.empty() ? nullptr : address.c_str(), nullptr);
            _exit(127);
        }
        output_ = ends[0];
        close(ends[1]);
    }
    ~DoomedHost() {
        close(output_);
        if (!isGone_) {
            kill();
        }
    }
    DoomedHost(const DoomedHost&) = delete;
    DoomedHost& operator=(const DoomedHost&) = delete;

    bool hasOpened() const {
        char letter = 0;
        return ::read(output_, &letter, 1) == 1;
    }

    /// \return true if it was alive until then.
    bool kill() {
        ::kill(process_, SIGKILL);
        int status = 0;
        isGone_ = true;
        return waitpid(process_, &status, 0) == process_ && WIFSIGNALED(status) &&
               WTERMSIG(status) == SIGKILL;
    }

  private:
    pid_t process_ = -1;
    int output_ = -1;
    bool isGone_ = false;
};

/// Knows byte for byte what an instrument must hold, whatever became of the hosts that used it.
class Stock {
  public:
    /// Empties the instrument and fills it with what is known.
    void renew(CqHandle handle) {
        known_ = stockedRecords();
        ASSERT_EQ(cqDeleteAllRecords(handle), CQ_NO_ERROR);
        ASSERT_EQ(cqDownloadStandards(handle, known_.data(), size()), CQ_NO_ERROR);
    }

    /// Nothing is lost or changed, and what a killed host has added is whole records in their order.
    /// \param addedAtOnce how many of the added records the instrument takes all or none of.
    void check(CqHandle handle, std::size_t addedAtOnce) {
        std::uint32_t count = 0;
        ASSERT_EQ(cqGetTotalStandards(handle, &count), CQ_NO_ERROR);
        ASSERT_GE(count, size());
        EXPECT_EQ((count - size()) % addedAtOnce, 0U);
        std::vector<CqMeasurementRecord> held(count);
        ASSERT_EQ(cqUploadStandards(handle, held.data(), 0, count), CQ_NO_ERROR);
        const auto added = addedRecords();
        for (std::size_t i = 0; known_.size() < count; ++i) {
            known_.push_back(added[i % added.size()]);
        }
        EXPECT_EQ(held, known_);
        if (count > 5 * stockedRecords().size()) {
            renew(handle);
        }
    }

  private:
    std::uint32_t size() const { return static_cast<std::uint32_t>(known_.size()); }

    std::vector<CqMeasurementRecord> known_;
};

/// A trial measured now: not the standard that an earlier host was waiting for, nor an old trial.
void expectNewTrial(CqHandle handle, std::uint32_t& lastNumber) {
    CqMeasurementRecord record;
    ASSERT_EQ(cqMeasureTrial(handle, &record), CQ_NO_ERROR);
    const std::uint32_t number = runningNumber(record);
    EXPECT_TRUE(isMeasuredRecord(record, RecordKind::trial, number));
    EXPECT_GT(number, lastNumber);
    lastNumber = number;
}

struct Line {
    std::string address;  ///< of a wireless instrument; empty for a wired one
    std::string options;
    std::size_t addedAtOnce;  ///< how many records of a download are stored all or none
    milliseconds latest;      ///< when a host is killed at the latest, counted from its opening

    CqHandle open(const VirtualInstrument& instrument) const {
        return address.empty() ? cqOpen(instrument.portName())
                               : cqOpenByBleDongle(instrument.portName(), address.c_str());
    }
};

/// Rounds on one instrument, for as long as some are left.
class KillingThread {
  public:
    KillingThread(const Line& line, unsigned seed, std::atomic<int>& roundsLeft)
        : line_(line), random_(seed), roundsLeft_(roundsLeft), instrument_(line.options) {}

    void run() {
        const CqHandle first = line_.open(instrument_);
        ASSERT_NE(first, nullptr);
        stock_.renew(first);
        cqClose(first);
        for (int round = roundsLeft_--; round > 0; round = roundsLeft_--) {
            const char* const operation = kOperations[static_cast<std::size_t>(round) % 3];
            SCOPED_TRACE(std::string("killed in ") + operation);
            kill(operation);
            if (testing::Test::HasFatalFailure()) {
                return;
            }
            openAndCheck();
        }
    }

  private:
    void kill(const char* operation) {
        DoomedHost host(instrument_.portName(), operation, line_.address);
        ASSERT_TRUE(host.hasOpened()) << "after a goodbye";
        std::uniform_int_distribution<long> microseconds(
            0, std::chrono::microseconds(line_.latest).count());
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random_)));
        ASSERT_TRUE(host.kill()) << "it has ended by itself, because something failed";
    }

    void openAndCheck() {
        const CqHandle handle = line_.open(instrument_);
        ASSERT_NE(handle, nullptr) << "at the first try";
        expectNewTrial(handle, lastTrial_);
        stock_.check(handle, line_.addedAtOnce);
        cqClose(handle);
    }

    const Line& line_;
    std::mt19937 random_;
    std::atomic<int>& roundsLeft_;
    VirtualInstrument instrument_;
    Stock stock_;
    std::uint32_t lastTrial_ = 0;
};

void killHosts(const Line& line, int rounds, std::size_t instruments) {
    std::atomic<int> roundsLeft{rounds};
    atOnce(instruments,
           [&](std::size_t i) { KillingThread(line, static_cast<unsigned>(i), roundsLeft).run(); });
    EXPECT_LE(roundsLeft, 0);
    std::cout << rounds << " hosts killed\n";
}

// The line is slow enough for most killings to fall into the middle of a transfer.
TEST(KilledHost, WiredInstrumentIsOpenedAtTheFirstTryWithRightData) {
    const Line line{"", "--calibrated --capacity 100000 --line-rate 921600 --measure-time 20",
                    addedRecords().size(), milliseconds(250)};
    killHosts(line, roundsOr(12), 4);
}

TEST(KilledHost, WirelessInstrumentIsOpenedAtTheFirstTryWithRightData) {
    const Line line{kFirstAddress,
                    "--adapter --calibrated --capacity 100000 --line-rate 115200 "
                    "--measure-time 50",
                    1, milliseconds(500)};
    const int rounds = roundsOr(3);
    killHosts(line, rounds, rounds > 3 ? 8 : 3);
}

}  // namespace
}  // namespace cqtest

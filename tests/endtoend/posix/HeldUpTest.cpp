// Host's threads that stand in each other's way, as signal handlers, debuggers and locks make them.

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <future>
#include <mutex>

#include "endtoend/Received.h"

namespace cqtest {
namespace {

/// Stops a thread wherever it is, until the scope ends.
class HeldUp {
  public:
    explicit HeldUp(pthread_t thread) {
        EXPECT_EQ(pipe(entered_.data()), 0);
        EXPECT_EQ(pipe(release_.data()), 0);
        struct sigaction action {};
        action.sa_handler = [](int) {
            char byte = 0;
            EXPECT_EQ(write(entered_[1], "!", 1), 1);
            EXPECT_EQ(read(release_[0], &byte, 1), 1);
        };
        sigaction(SIGUSR1, &action, nullptr);
        pthread_kill(thread, SIGUSR1);
        char byte = 0;
        EXPECT_EQ(read(entered_[0], &byte, 1), 1);
    }
    ~HeldUp() { EXPECT_EQ(write(release_[1], "!", 1), 1); }
    HeldUp(const HeldUp&) = delete;
    HeldUp& operator=(const HeldUp&) = delete;

  private:
    inline static std::array<int, 2> entered_{};
    inline static std::array<int, 2> release_{};
};

TEST(HeldUpCaller, KeepsTheInstrumentWaitingForNothing) {
    Received received;
    Wired wired("--calibrated --measure-time 700 --keep-alive 1");
    received.listenTo(wired.handle);
    std::atomic<std::uint32_t> code{99};
    std::thread caller([&] {
        CqMeasurementRecord record;
        code = cqMeasureTrial(wired.handle, &record);
    });
    EXPECT_TRUE(wired.instrument.waitUntilLogged("operation=0x24"));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));  // now it waits for its reply
    {
        const HeldUp held(caller.native_handle());
        wired.instrument.pressStandard();
        EXPECT_EQ(received.waitFor(1).size(), 1U) << "while the caller is held up";
        EXPECT_TRUE(wired.instrument.waitUntilLogged("keep-alive answer",
                                                     wired.instrument.lineLog().size()));
    }
    caller.join();
    EXPECT_EQ(code, CQ_NO_ERROR);
}

// Each waits for what the other holds. The call gives up in its time, and all goes on.
TEST(HeldUpCallback, LetsACallEndInItsTime) {
    struct Host {
        std::mutex lock;
        std::promise<void> entered;
        static void callback(bool, const CqMeasurementRecord*, void* user) {
            auto& host = *static_cast<Host*>(user);
            host.entered.set_value();
            const std::lock_guard guard(host.lock);
        }
    } host;
    Wired wired("--calibrated");
    cqSetMeasurementResultReceivedCallback(wired.handle, &Host::callback, &host);
    {
        const std::lock_guard guard(host.lock);
        wired.instrument.pressStandard();
        host.entered.get_future().wait();
        CqInstrumentStatus status;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(cqGetInstrumentStatus(wired.handle, &status), CQ_SENDING_TIMEOUT);
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    }
    EXPECT_EQ(totalStandards(wired.handle), 1U);
}

}  // namespace
}  // namespace cqtest

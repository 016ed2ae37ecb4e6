// Hosts that end, fork, or close where they must not. Each host is a child of its own.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "endtoend/Received.h"

namespace cqtest {
namespace {

constexpr int kRight = 42;

/// What the host leaves open, for its last moments.
CqHandle leftOpen = nullptr;

void exitAsExpected() {
    CqInstrumentStatus status;
    const bool isGone =
        !cqIsValidHandle(leftOpen) && cqGetInstrumentStatus(leftOpen, &status) == CQ_NOT_SUPPORTED;
    cqClose(leftOpen);
    std::_Exit(isGone ? kRight : 1);
}

// Handlers that are registered before the library is used run after it has let go of everything.
TEST(EndingProcess, FindsTheLibraryEmptyAndWhole) {
    VirtualInstrument instrument;
    EXPECT_EXIT(
        {
            std::atexit(&exitAsExpected);
            leftOpen = cqOpen(instrument.portName());
            std::exit(leftOpen != nullptr ? 0 : 2);
        },
        testing::ExitedWithCode(kRight), "");
    EXPECT_TRUE(instrument.waitUntilLogged("disconnect request"));
}

TEST(DebugLog, MayBeSwitchedUntilTheProcessEnds) {
    ASSERT_TRUE(cqEnableDebugLog());  // its file may lie here
    cqDiableDebugLog();
    const auto here = std::filesystem::current_path();
    const auto countFiles = [&] {
        return std::distance(std::filesystem::directory_iterator(here), {});
    };
    const auto before = countFiles();
    for (int round = 0; round < 30; ++round) {
        EXPECT_EXIT(
            {
                std::thread([] {
                    for (;;) {
                        cqEnableDebugLog();
                        cqDiableDebugLog();
                    }
                }).detach();
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
                std::exit(kRight);
            },
            testing::ExitedWithCode(kRight), "");
    }
    EXPECT_EQ(countFiles(), before);
}

#ifdef __SANITIZE_ADDRESS__
// The leak checker would look in vain for what only the parent's threads lead to.
constexpr auto kEndChild = &_exit;
#else
constexpr auto kEndChild = &std::exit;
#endif

// The child has copies of the parent's handle, locks and port, and none of its threads.
TEST(ForkedChild, LeavesItsParentsInstrumentAlone) {
    Wired wired("--standards 3");
    const std::size_t logged = wired.instrument.lineLog().size();
    const pid_t child = fork();
    if (child == 0) {
        cqClose(wired.handle);
        kEndChild(cqIsValidHandle(wired.handle) ? 1 : kRight);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), kRight);
    EXPECT_EQ(totalStandards(wired.handle), 3U);
    EXPECT_EQ(wired.instrument.lineLog().find("disconnect", logged), std::string::npos);
}

/// Closes its own handle, then another one, and opens a third.
struct Meddling {
    CqHandle own;
    CqHandle other;
    const char* free;
    bool isOtherClosed = false;
    CqHandle opened = nullptr;
    std::atomic<bool> isDone{false};

    static void callback(bool, const CqMeasurementRecord*, void* user) {
        auto& self = *static_cast<Meddling*>(user);
        cqClose(self.own);
        cqClose(self.other);
        self.isOtherClosed = !cqIsValidHandle(self.other);
        self.opened = cqOpen(self.free);
        self.isDone = true;
    }
};

TEST(MeddlingCallback, ClosesItsOwnHandleAndMore) {
    VirtualInstrument own("--calibrated");
    VirtualInstrument other;
    VirtualInstrument free;
    Meddling host{cqOpen(own.portName()), cqOpen(other.portName()), free.portName()};
    ASSERT_NE(host.own, nullptr);
    ASSERT_EQ(cqSetMeasurementResultReceivedCallback(host.own, &Meddling::callback, &host),
              CQ_NO_ERROR);
    own.pressStandard();
    ASSERT_TRUE(waitUntil([&] { return host.isDone.load(); }));
    EXPECT_FALSE(cqIsValidHandle(host.own));
    EXPECT_TRUE(host.isOtherClosed);
    EXPECT_TRUE(cqIsValidHandle(host.opened));
    cqClose(host.opened);
    const Handle again(own.portName());
    EXPECT_NE(static_cast<CqHandle>(again), nullptr) << "the port was let go";
}

}  // namespace
}  // namespace cqtest

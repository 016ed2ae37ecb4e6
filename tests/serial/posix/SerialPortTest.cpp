#include "serial/SerialPort.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <functional>
#include <numeric>
#include <thread>

#include "peer/WaitUntil.h"
#include "serial/posix/PseudoTerminal.h"

namespace ovk {
namespace {

using namespace std::chrono_literals;
using test::Bytes;
using test::PseudoTerminal;

class PosixSerialPort : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(port.open()) << port.lastError(); }

    bool arrives(std::size_t count) {
        return cqtest::waitUntil([&] { return port.queuedBytes().value_or(0) >= count; });
    }

    PseudoTerminal terminal;
    SerialPort port{terminal.path()};
};

TEST_F(PosixSerialPort, OpensOnceAndForOneOwner) {
    EXPECT_FALSE(port.open());
    EXPECT_TRUE(port.isOpen());

    SerialPort second(terminal.path());
    EXPECT_FALSE(second.open());
    EXPECT_NE(second.lastError(), 0U);
    EXPECT_NE(second.lastError(), SerialPort::kErrorDeviceGone);
    EXPECT_FALSE(second.hasHandle());
    EXPECT_EQ(port.write(Bytes{0x55}), 1);
    EXPECT_EQ(terminal.receive(1), Bytes{0x55});

    port.close();
    EXPECT_FALSE(port.isOpen());
    EXPECT_TRUE(second.open());
    second.close();
    EXPECT_TRUE(port.open());
}

// A process that is just being started still has every descriptor of its parent.
TEST_F(PosixSerialPort, IsFreeWhenClosedWhateverChildStillHoldsItsDescriptor) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        pause();
        _exit(0);
    }
    port.close();
    SerialPort next(terminal.path());
    EXPECT_TRUE(next.open()) << next.lastError();
    kill(child, SIGKILL);
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
}

TEST_F(PosixSerialPort, PassesEveryByteUnchangedInBothDirections) {
    Bytes all(256);
    std::iota(all.begin(), all.end(), std::uint8_t{0});
    EXPECT_EQ(port.write(all), 256);
    EXPECT_EQ(terminal.receive(256), all);

    terminal.send(all);
    Bytes received(256);
    EXPECT_EQ(port.read(received), 256);
    EXPECT_EQ(received, all);
    EXPECT_EQ(port.lastError(), 0U);
    // Nothing was echoed back.
    EXPECT_EQ(port.write(Bytes{0x01}), 1);
    EXPECT_EQ(terminal.receive(1), Bytes{0x01});
    const termios attributes = terminal.attributes();
    EXPECT_EQ(cfgetospeed(&attributes), static_cast<speed_t>(B115200));
}

TEST_F(PosixSerialPort, RefusesARateThatItCannotSet) {
    port.close();
    SerialPort odd(terminal.path(), {.baudRate = 12345});
    EXPECT_FALSE(odd.open());
    EXPECT_EQ(odd.lastError(), static_cast<std::uint32_t>(EINVAL));
    // The failure has left nothing behind that would keep others out.
    EXPECT_TRUE(port.open());
}

TEST_F(PosixSerialPort, BeginsWithEmptyQueues) {
    port.close();
    terminal.send("old\n");
    terminal.awaitQueued(4);
    ASSERT_TRUE(port.open());
    EXPECT_EQ(port.queuedBytes(), 0U);
    terminal.send("new");
    ASSERT_TRUE(arrives(3));
    port.discardReceived();
    EXPECT_EQ(port.queuedBytes(), 0U);
    EXPECT_FALSE(port.waitForData(0ms));
}

TEST_F(PosixSerialPort, ReadsALineAtATime) {
    terminal.send("\r\nOK\r\n+DEV:1\rx\ny\r\nrest");
    for (const auto* line : {"", "OK", "+DEV:1\rx\ny"}) {
        EXPECT_EQ(port.readLine(10s), line);
    }
    EXPECT_EQ(port.readLine(30ms), "rest");
    EXPECT_EQ(port.readLine(10ms), "");
    EXPECT_EQ(port.readLine(0ms), "");
    EXPECT_EQ(port.readLine(-5ms), "");
}

// After each wait the whole time since the beginning is taken off: with a byte every 50 ms, 400 ms
// are used up at 50 + 100 + 150 + 200 > 400 and so after some 200 ms.
TEST_F(PosixSerialPort, GivesATricklingLineLessTime) {
    std::atomic<bool> mustStop{false};
    std::thread sender([&] {
        while (!mustStop) {
            std::this_thread::sleep_for(50ms);
            terminal.send("x");
        }
    });
    const auto start = std::chrono::steady_clock::now();
    const std::string line = port.readLine(400ms);
    const auto elapsed = std::chrono::steady_clock::now() - start;
    mustStop = true;
    sender.join();
    EXPECT_GE(line.size(), 1U);
    EXPECT_LE(line.size(), 4U);
    EXPECT_GE(elapsed, 100ms);
    EXPECT_LT(elapsed, 400ms);
}

TEST_F(PosixSerialPort, SaysThatTheDeviceIsGone) {
    terminal.hangUp();
    Bytes buffer(1);
    EXPECT_FALSE(port.isOpen());
    EXPECT_EQ(port.lastError(), 2U);
    EXPECT_TRUE(port.hasHandle());
    const std::function<bool()> refusals[]{
        [&] { return !port.waitForData(SerialPort::kInfinite); },
        [&] { return port.write(buffer) == -1; },
        [&] { return port.read(buffer) == -1; },
        [&] { return port.queuedBytes() == std::nullopt; },
    };
    for (const auto& isRefused : refusals) {
        port.setLastError(0);
        EXPECT_TRUE(isRefused());
        EXPECT_EQ(port.lastError(), 2U);
    }
    EXPECT_EQ(port.readLine(SerialPort::kInfinite), "");
    EXPECT_FALSE(port.open());
    EXPECT_FALSE(port.hasHandle());
}

TEST_F(PosixSerialPort, AbortsEveryWaitUntilToldOtherwise) {
    terminal.send("x");
    ASSERT_TRUE(arrives(1));
    port.signalAbort();
    EXPECT_FALSE(port.waitForData(SerialPort::kInfinite));
    EXPECT_FALSE(port.waitForData(SerialPort::kInfinite));
    port.clearAbort();
    EXPECT_TRUE(port.waitForData(SerialPort::kInfinite));
    EXPECT_EQ(port.readAvailable(), Bytes{'x'});
}

// A process that has used up its file descriptors gets an error, not an exception.
TEST(PosixSerialPortLimits, ReportsThatNoDescriptorIsLeft) {
    const PseudoTerminal terminal;
    rlimit usual{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &usual), 0);
    rlimit none = usual;
    none.rlim_cur = 0;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    SerialPort port(terminal.path());
    const bool isOpened = port.open();
    const std::uint32_t error = port.lastError();
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &usual), 0);
    EXPECT_FALSE(isOpened);
    EXPECT_EQ(error, static_cast<std::uint32_t>(EMFILE));
}

}  // namespace
}  // namespace ovk

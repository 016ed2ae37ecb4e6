// One thread waits inside the port while another does something to it.

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <functional>
#include <future>
#include <thread>

#include "peer/WaitUntil.h"
#include "serial/posix/PseudoTerminal.h"
#include "serial/SerialPort.h"

namespace ovk {
namespace {

using namespace std::chrono_literals;
using cqtest::kPatience;
using test::Bytes;
using test::PseudoTerminal;

/// More than a pseudo-terminal takes before somebody reads.
constexpr std::size_t kMoreThanALineHolds = 400'000;

/// The operations that can wait for ever, each with its result when it was cut short.
struct WaitingOperation {
    const char* name;
    std::function<bool(SerialPort&)> isCutShort;
};

const std::vector<WaitingOperation> kWaitingOperations{
    {"waitForData", [](SerialPort& port) { return !port.waitForData(SerialPort::kInfinite); }},
    {"read",
     [](SerialPort& port) {
         Bytes buffer(10);
         return port.read(buffer) == -1;
     }},
    {"readLine", [](SerialPort& port) { return port.readLine(SerialPort::kInfinite).empty(); }},
    {"write",
     [](SerialPort& port) { return port.write(test::pattern(kMoreThanALineHolds)) == -1; }},
};

class PosixSerialPortThreads : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(port.open()) << port.lastError(); }

    std::future<bool> start(const WaitingOperation& operation) {
        auto result = std::async(std::launch::async,
                                 [this, operation] { return operation.isCutShort(port); });
        EXPECT_EQ(result.wait_for(30ms), std::future_status::timeout) << operation.name;
        return result;
    }

    static void expectCutShort(std::future<bool>& result, const char* name) {
        ASSERT_EQ(result.wait_for(kPatience), std::future_status::ready) << name;
        EXPECT_TRUE(result.get()) << name;
    }

    PseudoTerminal terminal;
    SerialPort port{terminal.path()};
};

TEST_F(PosixSerialPortThreads, ClosingWakesEveryWait) {
    for (const WaitingOperation& operation : kWaitingOperations) {
        auto result = start(operation);
        port.close();
        expectCutShort(result, operation.name);
        EXPECT_FALSE(port.hasHandle());
        EXPECT_TRUE(port.open()) << operation.name;
    }
}

// A host's timers interrupt the wait many times; none of them makes it begin anew.
TEST_F(PosixSerialPortThreads, SignalsDoNotProlongAWait) {
    std::signal(SIGUSR1, [](int) {});
    std::atomic<bool> isOver{false};
    std::thread waiting([&] {
        EXPECT_FALSE(port.waitForData(200ms));
        EXPECT_EQ(port.readLine(200ms), "");
        isOver = true;
    });
    EXPECT_TRUE(cqtest::waitUntil([&] {
        pthread_kill(waiting.native_handle(), SIGUSR1);
        return isOver.load();
    }));
    port.close();  // wakes a wait that has no end
    waiting.join();
}

TEST_F(PosixSerialPortThreads, RemovalWakesEveryWait) {
    for (const WaitingOperation& operation : kWaitingOperations) {
        PseudoTerminal other;
        port.close();
        port.setPortName(other.path());
        ASSERT_TRUE(port.open());
        auto result = start(operation);
        other.hangUp();
        expectCutShort(result, operation.name);
        EXPECT_EQ(port.lastError(), SerialPort::kErrorDeviceGone) << operation.name;
    }
}

TEST_F(PosixSerialPortThreads, AFullLineHoldsAWriteUpUntilItIsDrained) {
    const Bytes bytes = test::pattern(kMoreThanALineHolds);
    auto written = std::async(std::launch::async, [&] { return port.write(bytes); });
    EXPECT_EQ(written.wait_for(50ms), std::future_status::timeout);
    EXPECT_TRUE(terminal.receive(bytes.size()) == bytes);
    EXPECT_EQ(written.get(), static_cast<std::int32_t>(bytes.size()));
    EXPECT_EQ(port.lastError(), 0U);
}

}  // namespace
}  // namespace ovk

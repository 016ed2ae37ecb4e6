// What a port does without a device, on every system. The rest is in posix/, and for Windows in the
// end-to-end tests.

#include "serial/SerialPort.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>

#include "api/TemporaryPath.h"

namespace ovk {
namespace {

using namespace std::chrono_literals;

void expectClosed(SerialPort& port) {
    std::array<std::uint8_t, 1> buffer{};
    EXPECT_FALSE(port.hasHandle());
    EXPECT_FALSE(port.isOpen());
    port.setLastError(0);
    EXPECT_EQ(port.write(buffer), -1);
    EXPECT_NE(port.lastError(), 0U);
    port.setLastError(0);
    EXPECT_EQ(port.read(buffer), -1);
    EXPECT_NE(port.lastError(), 0U);
    port.setLastError(0);
    EXPECT_FALSE(port.waitForData(SerialPort::kInfinite));
    EXPECT_NE(port.lastError(), 0U);
    EXPECT_NE(port.lastError(), SerialPort::kErrorDeviceGone);
    EXPECT_EQ(port.queuedBytes(), std::nullopt);
    EXPECT_TRUE(port.readAvailable().empty());
    EXPECT_EQ(port.readLine(SerialPort::kInfinite), "");
    port.discardReceived();
    port.signalAbort();
    port.clearAbort();
    port.close();
}

TEST(SerialPort, refusesEverythingWhileItIsClosed) {
    SerialPort port("any name");
    expectClosed(port);
}

TEST(SerialPort, doesNotOpenWhatIsNoPort) {
    const test::TemporaryPath folder("cqapi-no-ports");
    std::filesystem::create_directory(folder.get());
    const auto file = folder.get() / "file";
    std::ofstream(file) << "text";
    for (const std::string& name :
         {std::string(), std::string("COM9999"), (folder.get() / "missing").string(), file.string(),
          folder.get().string(), std::string(5000, 'x')}) {
        SerialPort port(name);
        EXPECT_EQ(port.portName(), name);
        EXPECT_FALSE(port.open()) << name;
        EXPECT_NE(port.lastError(), 0U) << name;
        expectClosed(port);
    }
}

}  // namespace
}  // namespace ovk

// What a port does without a device, on every system. The rest is in posix/, and for Windows in the
// end-to-end tests.

#include "serial/SerialPort.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <functional>

#include "api/TemporaryPath.h"

namespace ovk {
namespace {

using namespace std::chrono_literals;

void expectClosed(SerialPort& port) {
    std::array<std::uint8_t, 1> buffer{};
    EXPECT_FALSE(port.hasHandle());
    EXPECT_FALSE(port.isOpen());
    const std::function<bool()> refusals[]{
        [&] { return port.write(buffer) == -1; },
        [&] { return port.read(buffer) == -1; },
        [&] { return !port.waitForData(SerialPort::kInfinite); },
    };
    for (const auto& isRefused : refusals) {
        port.setLastError(0);
        EXPECT_TRUE(isRefused());
        EXPECT_NE(port.lastError(), 0U);
        EXPECT_NE(port.lastError(), SerialPort::kErrorDeviceGone);
    }
    EXPECT_EQ(port.queuedBytes(), std::nullopt);
    EXPECT_TRUE(port.readAvailable().empty());
    EXPECT_EQ(port.readLine(SerialPort::kInfinite), "");
    port.discardReceived();
    port.signalAbort();
    port.clearAbort();
    port.close();
}

TEST(SerialPort, DoesNotOpenWhatIsNoPortAndRefusesEverythingElse) {
    const test::TemporaryPath folder("cqapi-no-ports");
    std::filesystem::create_directory(folder.get());
    const auto file = folder.get() / "file";
    std::ofstream(file) << "text";
    for (const std::string& name :
         {std::string(), std::string("COM9999"), (folder.get() / "missing").string(), file.string(),
          folder.get().string(), std::string(5000, 'x')}) {
        SerialPort port(name);
        expectClosed(port);
        EXPECT_FALSE(port.open()) << name;
        EXPECT_NE(port.lastError(), 0U) << name;
        port.close();  // Windows keeps the handle of what takes no queue sizes
        expectClosed(port);
    }
}

}  // namespace
}  // namespace ovk

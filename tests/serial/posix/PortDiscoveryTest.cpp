#include "serial/PortDiscovery.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "serial/posix/MadeUpSystem.h"

namespace ovk {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

class PosixPortDiscovery : public testing::Test, protected test::MadeUpSystem {
  protected:
    /// Plugs in a USB device with one terminal, whose driver may be "".
    void plugIn(const std::string& terminal, const std::string& vendor, const std::string& product,
                const std::string& driver = "", const std::string& productName = "") {
        const fs::path usb = root / "sys/devices/usb1" / ("1-" + std::to_string(++count_));
        const fs::path interface = usb / "1-1:1.0" / terminal;
        fs::create_directories(interface);
        std::ofstream(usb / "idVendor") << vendor << '\n';
        std::ofstream(usb / "idProduct") << product << '\n';
        if (!productName.empty()) {
            std::ofstream(usb / "product") << productName << '\n';
        }
        if (!driver.empty()) {
            drive(interface, driver);
        }
        addTerminal(terminal, interface);
    }

    std::vector<std::string> names{"left from before"};
    std::vector<std::uint32_t> numbers{99};

  private:
    int count_ = 0;
};

TEST_F(PosixPortDiscovery, FindsInstrumentsByTheirUsbIdentity) {
    plugIn("ttyACM10", "0483", "5740");
    plugIn("ttyACM2", "0483", "5740");
    plugIn("ttyACM0", "0483", "374b");
    plugIn("ttyACM1", "2341", "5740");
    plugIn("ttyUSB0", "0483", "5740");
    plugIn("ttyACMx", "0483", "5740");
    plugIn("ttyACM3x", "0483", "5740");
    fs::create_directories(terminals / "ttyACM4");  // without a device
    addTerminal("ttyACM5", root / "gone");
    EXPECT_EQ(findInstrumentPorts(names), 2U);
    EXPECT_THAT(names, ElementsAre(dev("ttyACM2"), dev("ttyACM10")));
}

TEST_F(PosixPortDiscovery, FindsAdaptersByTheirDriverOrName) {
    plugIn("ttyUSB12", "1a86", "7523", "ch341-uart");
    plugIn("ttyUSB3", "1a86", "7523", "", "USB-SERIAL CH340");
    plugIn("ttyUSB0", "10c4", "ea60", "cp210x", "CP2102 USB to UART Bridge");
    plugIn("ttyUSB1", "0483", "5740");
    plugIn("ttyACM7", "1a86", "55d4", "ch341-uart");
    EXPECT_EQ(findCh340Ports(numbers), 2U);
    EXPECT_THAT(numbers, ElementsAre(3U, 12U));
    EXPECT_EQ(ch340PortName(12), dev("ttyUSB12"));
}

TEST_F(PosixPortDiscovery, FindsNothingWhereNothingIs) {
    EXPECT_EQ(findInstrumentPorts(names), 0U);
    EXPECT_THAT(names, IsEmpty());
    EXPECT_EQ(findCh340Ports(numbers), 0U);
    EXPECT_THAT(numbers, IsEmpty());
}

TEST_F(PosixPortDiscovery, FailsWithoutAListOfTerminals) {
    fs::remove_all(terminals);
    EXPECT_EQ(findInstrumentPorts(names), kDiscoveryFailed);
    EXPECT_THAT(names, IsEmpty());
    EXPECT_EQ(findCh340Ports(numbers), kDiscoveryFailed);
    EXPECT_THAT(numbers, IsEmpty());
}

}  // namespace
}  // namespace ovk

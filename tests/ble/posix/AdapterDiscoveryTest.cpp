// The adapter is found among the terminals of a made-up system, and used through the exports: a
// virtual adapter stands behind one of them.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "api/TemporaryPath.h"
#include "cqapi/CQApi.h"
#include "peer/VirtualInstrument.h"
#include "serial/posix/SystemTree.h"

namespace ovk {
namespace {

namespace fs = std::filesystem;

class AdapterDiscovery : public testing::Test {
  protected:
    AdapterDiscovery() {
        fs::create_directories(root / "sys/class/tty");
        fs::create_directories(root / "dev");
        systemTree() = {root / "sys", root / "dev"};
    }
    ~AdapterDiscovery() override { systemTree() = usual_; }

    /// A terminal with this driver; nothing stands behind it if the port is "".
    void plugIn(const std::string& terminal, const std::string& driver, const std::string& port) {
        const fs::path device = root / "sys/devices" / terminal;
        const fs::path drivers = root / "sys/bus/drivers" / driver;
        fs::create_directories(device);
        fs::create_directories(drivers);
        fs::create_directory_symlink(drivers, device / "driver");
        fs::create_directories(root / "sys/class/tty" / terminal);
        fs::create_directory_symlink(device, root / "sys/class/tty" / terminal / "device");
        if (!port.empty()) {
            fs::create_symlink(port, root / "dev" / terminal);
        }
    }

    const test::TemporaryPath folder{"cqapi-adapter-tree"};
    const fs::path root = folder.get();

  private:
    const SystemTree usual_ = systemTree();
};

TEST_F(AdapterDiscovery, takesTheFirstPortWhoseModuleAnswers) {
    const cqtest::VirtualInstrument unfit("--adapter --fault at-blank");
    const cqtest::VirtualInstrument adapter("--adapter --at-delay 2 --calibrated");
    plugIn("ttyUSB0", "cp210x", unfit.portName());
    plugIn("ttyUSB1", "ch341-uart", "");
    plugIn("ttyUSB2", "ch341-uart", unfit.portName());
    plugIn("ttyUSB10", "ch341-uart", adapter.portName());

    const CqHandle handle = cqOpenByBleDongle(nullptr, "C4BE84A1B2C3");
    ASSERT_NE(handle, nullptr);
    char port[256] = {};
    EXPECT_EQ(cqGetPortName(handle, port, sizeof(port) - 1), CQ_NO_ERROR);
    EXPECT_EQ(port, (root / "dev/ttyUSB10").string());
    CqMeasurementRecord record;
    EXPECT_EQ(cqMeasureStandard(handle, &record), CQ_NO_ERROR);
    cqClose(handle);
    EXPECT_EQ(unfit.lineLog().find("AT+CT"), std::string::npos);
}

TEST_F(AdapterDiscovery, givesNoHandleWhereNoModuleAnswers) {
    EXPECT_EQ(cqOpenByBleDongle("", nullptr), nullptr) << "no terminal at all";
    const cqtest::VirtualInstrument unfit("--adapter --fault at-blank");
    plugIn("ttyUSB0", "ch341-uart", unfit.portName());
    EXPECT_EQ(cqOpenByBleDongle("", nullptr), nullptr);

    CqBleSlave* slaves = nullptr;
    EXPECT_EQ(cqScanBleSlaves(unfit.portName(), &slaves), CQ_SYSTEM_ERROR)
        << "the port can be opened: the search has let it go";
}

}  // namespace
}  // namespace ovk

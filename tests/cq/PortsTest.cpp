#include "system/Ports.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "Samples.h"
#include "system/posix/DeviceTree.h"

namespace cqtool {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

/// A system with ports of one's own making.
class Ports : public testing::Test {
  protected:
    Ports() {
        root_ = fs::temp_directory_path() / ("cq-ports-" + std::to_string(::getpid()));
        fs::remove_all(root_);
        deviceTree() = {root_ / "sys", root_ / "dev", root_ / "proc"};
        fs::create_directories(root_ / "sys/class/tty");
        fs::create_directories(root_ / "dev");
    }
    ~Ports() override {
        deviceTree() = {};
        fs::remove_all(root_);
    }

    void write(const fs::path& file, const std::string& line) {
        fs::create_directories((root_ / file).parent_path());
        std::ofstream(root_ / file) << line << '\n';
    }

    /// A terminal on an interface of a USB device; an empty driver is none.
    void plug(const std::string& terminal, const std::string& vendor, const std::string& product,
              const std::string& text, const std::string& driver) {
        const fs::path usb = fs::path("sys/devices") / ("usb-" + terminal);
        write(usb / "idVendor", vendor);
        write(usb / "idProduct", product);
        write(usb / "product", text);
        addTerminal(terminal, usb / "interface", driver);
    }

    void addTerminal(const std::string& terminal, const fs::path& device,
                     const std::string& driver) {
        fs::create_directories(root_ / device);
        fs::create_symlink(fs::path("/drivers") / driver, root_ / device / "driver");
        const fs::path entry = root_ / "sys/class/tty" / terminal;
        fs::create_directories(entry);
        fs::create_directory_symlink(root_ / device, entry / "device");
        write(fs::path("dev") / terminal, "");
    }

    void hold(const std::string& process, const std::string& name, const std::string& terminal) {
        write(fs::path("proc") / process / "comm", name);
        fs::create_directories(root_ / "proc" / process / "fd");
        fs::create_symlink(root_ / "dev" / terminal, root_ / "proc" / process / "fd" / "3");
    }

    fs::path root_;
};

TEST_F(Ports, AreToldByWhatIsBehindThem) {
    plug("ttyACM10", "0483", "5740", "Virtual COM Port", "cdc_acm");
    plug("ttyACM9", "0483", "5740", "Virtual COM Port", "cdc_acm");
    plug("ttyACM0", "2341", "0043", "bo\x1b[31mard", "cdc_acm");
    plug("ttyUSB0", "1a86", "7523", "USB2.0-Serial", "ch341-uart");
    plug("ttyUSB1", "1a86", "5523", "a clone", "ch341-uart");
    plug("ttyUSB2", "0403", "6001", "FT232R USB UART", "ftdi_sio");
    addTerminal("ttyS0", "sys/devices/serial0", "serial");
    addTerminal("ttyS4", "sys/devices/serial4", "serial8250");
    write("sys/class/tty/ttyS0/type", "4");
    write("sys/class/tty/ttyS4/type", "0");                // an address without a port
    fs::create_directories(root_ / "sys/class/tty/tty1");  // a console
    hold("1234", "minicom", "ttyUSB0");
    hold("77", "modem manager", "ttyUSB0");

    std::vector<std::string> shown;
    for (const PortInfo& port : listPorts()) {
        const fs::path name = port.name;
        EXPECT_EQ(name.parent_path(), root_ / "dev");
        shown.push_back(std::string(nameOf(port.kind)) + ' ' + name.filename().string() + ' ' +
                        (port.usb ? textOf(*port.usb) : "-") + ' ' + port.driver);
        EXPECT_EQ(port.heldBy.empty(), name.filename() != "ttyUSB0");
        if (name.filename() == "ttyUSB0") {
            EXPECT_THAT(port.heldBy, testing::HasSubstr("minicom (process 1234)"));
            EXPECT_THAT(port.heldBy, testing::HasSubstr("modem manager (process 77)"));
        }
        EXPECT_THAT(port.description, testing::Not(testing::HasSubstr("\x1b")));
    }
    EXPECT_THAT(
        shown,
        ElementsAre("instrument ttyACM9 0483:5740 cdc_acm", "instrument ttyACM10 0483:5740 cdc_acm",
                    "adapter ttyUSB0 1a86:7523 ch341-uart", "adapter ttyUSB1 1a86:5523 ch341-uart",
                    "other ttyACM0 2341:0043 cdc_acm", "other ttyS0 - serial",
                    "other ttyUSB2 0403:6001 ftdi_sio"));
}

TEST_F(Ports, AreDescribedByNameAndThroughLinks) {
    plug("ttyACM3", "0483", "5740", "Virtual COM Port", "cdc_acm");
    const fs::path link = root_ / "instrument";
    fs::create_symlink(root_ / "dev/ttyACM3", link);
    const PortInfo port = describePort(link.string());
    EXPECT_EQ(port.name, link.string());
    EXPECT_EQ(port.kind, PortKind::instrument);
    EXPECT_THAT(thrownBy<Failure>([&] { describePort((root_ / "none").string()); }),
                testing::HasSubstr("there is no port"));
}

TEST_F(Ports, ThatCannotBeListedAreAFailure) {
    fs::remove_all(root_ / "sys");
    EXPECT_THAT(thrownBy<Failure>([] { listPorts(); }), testing::HasSubstr("cannot be listed"));
}

}  // namespace
}  // namespace cqtool

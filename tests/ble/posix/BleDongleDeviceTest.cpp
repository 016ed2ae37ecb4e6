#include "ble/BleDongleDevice.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "api/LogFile.h"
#include "cqapi/CQApi.h"
#include "peer/VirtualInstrument.h"
#include "ScriptedInstrument.h"
#include "serial/posix/MadeUpSystem.h"

namespace ovk {
namespace {

namespace fs = std::filesystem;
using bletest::codeOf;
using bletest::kExCode;
using bletest::ScriptedPeer;
using Script = ScriptedPeer::Script;

/// A module's part in its configuration.
const Script kConfigured{{kExCode, {"ERROR\r\n"}},
                         {"AT+MT=1\r\n", {"MT=1\r\n"}},
                         {"AT+BY=02\r\n", {"BY=02\r\n"}},
                         {"AT+EXM=0\r\n", {"OK\r\n"}},
                         {"AT+EXL=16\r\n", {"EXL=16\r\n"}}};
const Script kNoModule{{kExCode, {"?\r\n"}}, {"AT+MT=1\r\n", {"?\r\n"}}};
const Script kAr{{"AT+AR\r\n", {"AR=1.2\r\n"}}};

Script joined(std::initializer_list<Script> parts) {
    Script all;
    for (const Script& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

Script connecting(const std::string& address) {
    return {{"AT+CT=" + address + "\r\n", {"OK\r\n+CONNECTED>>" + address + "\r\n"}}};
}

/// A made-up system with adapters' ports, which it lists in the order of their numbers.
class AdapterSystem : public test::MadeUpSystem {
  public:
    void add(const std::string& terminal, const std::string& portName) const {
        const fs::path device = root / "sys/devices" / terminal;
        fs::create_directories(device);
        drive(device, "ch341-uart");
        addTerminal(terminal, device);
        fs::create_symlink(portName, dev(terminal));
    }
};

TEST(BleDongleDevice, ANamedPortThatDoesNotServeIsClosedAgain) {
    BleDongleDevice dongle;
    EXPECT_EQ(codeOf([&] { dongle.open("/dev/no-such-terminal"); }), CQ_FAIL_TO_OPEN);
    const ScriptedPeer other(kNoModule);
    EXPECT_EQ(codeOf([&] { dongle.open(other.portName()); }), CQ_UNKNOWN_ERROR);
    EXPECT_TRUE(SerialPort(other.portName()).open());
    EXPECT_EQ(codeOf([&] { dongle.connect("C0"); }), CQ_DEVICE_IS_CLOSED);
}

TEST(BleDongleDevice, SearchesThePortsInOrderForAModule) {
    const AdapterSystem system;
    BleDongleDevice dongle;
    EXPECT_EQ(codeOf([&] { dongle.open(""); }), CQ_CANNOT_FOUND_DEVICE);

    // The module that is found is configured as it is tried, and again as it is taken.
    const Script script = joined({kConfigured, kConfigured, kAr, connecting("C0")});
    ScriptedPeer other(kNoModule);
    ScriptedPeer module(script);
    ScriptedPeer untried;
    system.add("ttyUSB0", "no-such-terminal");
    system.add("ttyUSB1", other.portName());
    system.add("ttyUSB2", module.portName());
    system.add("ttyUSB3", untried.portName());
    dongle.open("");
    dongle.connect("C0");
    EXPECT_EQ(dongle.stopReceiving()->portName(), system.dev("ttyUSB2"));
    EXPECT_EQ(module.finish(), ScriptedPeer::awaitedBy(script));
    EXPECT_EQ(other.finish(), ScriptedPeer::awaitedBy(kNoModule));
    EXPECT_EQ(untried.finish(), "");
    EXPECT_TRUE(SerialPort(other.portName()).open());
}

TEST(BleDongleDevice, ConnectsToTheStrongestSlaveOrTheGivenOne) {
    struct Case {
        const char* name;
        std::string address;
        Script script;
        ResultCode code;
    };
    const auto scanning = [](const std::string& results) {
        return Script{{"AT+SC\r\n", {"+INQE\r\n"}}, {"AT+SR\r\n", {results}}};
    };
    const Script threeSlaves =
        scanning("SR=0:Far,A0,-90\r\nSR=1:Near,A1,-40\r\nSR=2:As near,A2,-40\r\n");
    const Script refusing{{"AT+CT=A7\r\n", {"OK\r\nERROR\r\n"}}};
    const Case cases[]{
        {"the strongest, of equal ones the first", "", joined({threeSlaves, connecting("A1")}), 0},
        {"nobody there", "", scanning("SR=0:broken\r\n"), CQ_CANNOT_FOUND_DEVICE},
        {"the given one, without a scan", "A7", connecting("A7"), 0},
        {"one that refuses the link", "A7", refusing, CQ_UNKNOWN_ERROR},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const Script script = joined({kConfigured, kAr, each.script});
        ScriptedPeer module(script);
        BleDongleDevice dongle;
        dongle.open(module.portName());
        EXPECT_EQ(codeOf([&] { dongle.connect(each.address); }), each.code);
        EXPECT_EQ(dongle.stopReceiving() != nullptr, each.code == CQ_NO_ERROR);
        EXPECT_EQ(module.finish(), ScriptedPeer::awaitedBy(script));
    }
}

TEST(BleDongleDevice, IsSearchedForByTheExportWithoutAPort) {
    const AdapterSystem system;
    EXPECT_EQ(cqOpenByBleDongle("", nullptr), nullptr) << "no terminal at all";
    const cqtest::VirtualInstrument unfit("--adapter --fault at-blank");
    const cqtest::VirtualInstrument adapter("--adapter --at-delay 2");
    system.add("ttyUSB2", unfit.portName());
    EXPECT_EQ(cqOpenByBleDongle("", nullptr), nullptr) << "no module";
    system.add("ttyUSB10", adapter.portName());
    const CqHandle handle = cqOpenByBleDongle(nullptr, "C4BE84A1B2C3");
    char port[256] = {};
    EXPECT_EQ(cqGetPortName(handle, port, sizeof(port) - 1), CQ_NO_ERROR);
    EXPECT_EQ(port, system.dev("ttyUSB10"));
    cqClose(handle);
}

TEST(BleDongleDevice, ConnectingAgainDisconnectsFirst) {
    const Script script = joined({kConfigured,
                                  kAr,
                                  connecting("A1"),
                                  {{"AT+DC\r\n", {"+DISCONNECT\r\n"}}},
                                  connecting("A2")});
    ScriptedPeer module(script);
    BleDongleDevice dongle;
    dongle.open(module.portName());
    dongle.connect("A1");
    const test::LogFile log;
    dongle.connect("A2");
    // The receiving thread must not take the module's answers.
    EXPECT_LT(log.text().find("End receiving_thread"), log.text().find("AT+DC"));
    EXPECT_EQ(module.finish(), ScriptedPeer::awaitedBy(script));
}

}  // namespace
}  // namespace ovk

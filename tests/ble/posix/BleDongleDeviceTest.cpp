#include "ble/BleDongleDevice.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "api/CommunicationException.h"
#include "api/LogFile.h"
#include "api/TemporaryPath.h"
#include "ScriptedPeer.h"
#include "serial/posix/SystemTree.h"

namespace ovk {
namespace {

namespace fs = std::filesystem;
using bletest::ScriptedPeer;
using Script = ScriptedPeer::Script;

const std::string kExCode = "AT+EX=3C9A0E57B21D4F8861A7C5E09D2B74F1\r\n";

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

ResultCode codeOf(const std::function<void()>& operation) {
    try {
        operation();
        return CQ_NO_ERROR;
    } catch (const CommunicationException& exception) {
        return exception.code();
    }
}

/// A made-up system with adapters' ports, which it lists in the order of their numbers.
class AdapterSystem {
  public:
    AdapterSystem() {
        fs::create_directories(root_ / "sys/class/tty");
        fs::create_directories(root_ / "ch341");
        fs::create_directories(root_ / "dev");
        systemTree() = {root_ / "sys", root_ / "dev"};
    }
    ~AdapterSystem() { systemTree() = usual_; }
    AdapterSystem(const AdapterSystem&) = delete;
    AdapterSystem& operator=(const AdapterSystem&) = delete;

    void add(const std::string& terminal, const std::string& portName) const {
        const fs::path device = root_ / "sys/class/tty" / terminal / "device";
        fs::create_directories(device);
        fs::create_directory_symlink(root_ / "ch341", device / "driver");
        fs::create_symlink(portName, path(terminal));
    }
    std::string path(const std::string& terminal) const { return root_ / "dev" / terminal; }

  private:
    const test::TemporaryPath folder_{"cqapi-adapters"};
    const fs::path root_ = folder_.get();
    const SystemTree usual_ = systemTree();
};

TEST(BleDongleDevice, opensANamedPortWithoutASearch) {
    const Script script = joined({kConfigured, kAr});
    ScriptedPeer module(script);
    BleDongleDevice dongle;
    dongle.open(module.portName());
    EXPECT_EQ(dongle.arText(), "1.2");
    EXPECT_EQ(module.finish(), ScriptedPeer::awaitedBy(script));
}

TEST(BleDongleDevice, aNamedPortThatDoesNotServeIsClosedAgain) {
    BleDongleDevice dongle;
    EXPECT_EQ(codeOf([&] { dongle.open("/dev/no-such-terminal"); }), CQ_FAIL_TO_OPEN);
    const ScriptedPeer other(kNoModule);
    EXPECT_EQ(codeOf([&] { dongle.open(other.portName()); }), CQ_UNKNOWN_ERROR);
    EXPECT_TRUE(SerialPort(other.portName()).open());
    EXPECT_EQ(codeOf([&] { dongle.connect("C0"); }), CQ_DEVICE_IS_CLOSED);
}

TEST(BleDongleDevice, searchesThePortsInOrderForAModule) {
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
    EXPECT_EQ(dongle.stopReceiving()->portName(), system.path("ttyUSB2"));
    EXPECT_EQ(module.finish(), ScriptedPeer::awaitedBy(script));
    EXPECT_EQ(other.finish(), ScriptedPeer::awaitedBy(kNoModule));
    EXPECT_EQ(untried.finish(), "");
    EXPECT_TRUE(SerialPort(other.portName()).open());
}

TEST(BleDongleDevice, connectsToTheStrongestSlaveOrTheGivenOne) {
    struct Case {
        const char* name;
        std::string address;
        std::string results;
        ResultCode code;
        std::string target;
        std::string slaveName;
        std::int32_t rssi;
    };
    const Case cases[]{
        {"the strongest, of equal ones the first", "",
         "SR=0:Far,A0,-90\r\nSR=1:Near,A1,-40\r\nSR=2:As near,A2,-40\r\n", CQ_NO_ERROR, "A1",
         "Near", -40},
        {"nobody there", "", "SR=0:broken\r\n", CQ_CANNOT_FOUND_DEVICE, "", "", 0},
        {"the given one, without a scan", "A7", "", CQ_NO_ERROR, "A7", "", -50},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        Script script = joined({kConfigured, kAr});
        if (each.address.empty()) {
            script.push_back({"AT+SC\r\n", {"+INQE\r\n"}});
            script.push_back({"AT+SR\r\n", {each.results}});
        }
        if (!each.target.empty()) {
            script = joined({script, connecting(each.target)});
        }
        ScriptedPeer module(script);
        BleDongleDevice dongle;
        dongle.open(module.portName());
        EXPECT_EQ(codeOf([&] { dongle.connect(each.address); }), each.code);
        EXPECT_EQ(dongle.connectedSlave().name, each.slaveName);
        EXPECT_EQ(dongle.connectedSlave().address, each.target);
        EXPECT_EQ(dongle.connectedSlave().rssi, each.rssi);
        EXPECT_EQ(dongle.stopReceiving() != nullptr, each.code == CQ_NO_ERROR);
        EXPECT_EQ(module.finish(), ScriptedPeer::awaitedBy(script));
    }
}

TEST(BleDongleDevice, aRefusedLinkIsReportedAndNothingIsReceived) {
    ScriptedPeer module(joined({kConfigured, kAr, {{"AT+CT=A7\r\n", {"OK\r\nERROR\r\n"}}}}));
    BleDongleDevice dongle;
    dongle.open(module.portName());
    EXPECT_EQ(codeOf([&] { dongle.connect("A7"); }), CQ_UNKNOWN_ERROR);
    EXPECT_EQ(dongle.stopReceiving(), nullptr);
}

TEST(BleDongleDevice, connectingAgainDisconnectsFirst) {
    const Script script = joined({kConfigured,
                                  kAr,
                                  connecting("A1"),
                                  {{"AT+DC\r\n", {"+DISCONNECT\r\n"}}},
                                  connecting("A2")});
    ScriptedPeer module(script);
    BleDongleDevice dongle;
    dongle.open(module.portName());
    dongle.connect("A1");
    test::LogFile log;
    ASSERT_TRUE(log.enable());
    dongle.connect("A2");
    // The receiving thread must not take the module's answers.
    EXPECT_LT(log.text().find("End receiving_thread"), log.text().find("AT+DC"));
    EXPECT_EQ(dongle.connectedSlave().address, "A2");
    EXPECT_EQ(module.finish(), ScriptedPeer::awaitedBy(script));
}

}  // namespace
}  // namespace ovk

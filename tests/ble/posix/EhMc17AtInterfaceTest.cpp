#include "ble/EhMc17AtInterface.h"

#include <gmock/gmock.h>

#include <functional>

#include "ScriptedPeer.h"

namespace ovk {
namespace {

using namespace std::chrono_literals;
using bletest::ScriptedPeer;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Lt;
using testing::SizeIs;
using Lines = EhMc17AtInterface::Lines;
using Script = ScriptedPeer::Script;

constexpr auto kShortScan = 250ms;
const std::string kExCode = "AT+EX=3C9A0E57B21D4F8861A7C5E09D2B74F1\r\n";

/// An AT interface with a module behind it that plays the script.
class ScriptedModule {
  public:
    explicit ScriptedModule(const Script& script) : peer(script) {
        port->setPortName(peer.portName());
        EXPECT_TRUE(port->open());
    }

    ScriptedPeer peer;
    std::shared_ptr<SerialPort> port = std::make_shared<SerialPort>();
    EhMc17AtInterface at{port, kShortScan};
};

std::vector<std::string> namesOf(const std::vector<SlaveDevice>& devices) {
    std::vector<std::string> names;
    for (const SlaveDevice& device : devices) {
        names.push_back(device.name);
    }
    return names;
}

TEST(EhMc17AtInterface, judgesTheModulesAnswers) {
    using At = EhMc17AtInterface;
    struct Case {
        std::function<bool(At&)> operation;
        std::string sent;
        std::vector<std::string> answers;
        bool expected;
    };
    const auto setExCode = [](At& at) { return at.setExCode(""); };
    const auto setOtherExCode = [](At& at) { return at.setExCode("00FF"); };
    const auto setExLength = [](At& at) { return at.setExLength(); };
    const auto setExMode = [](At& at) { return at.setExMode(); };
    const auto setBy = [](At& at) { return at.setBy(); };
    const auto setMt = [](At& at) { return at.setMt(); };
    const auto connect = [](At& at) { return at.connect("C4BE84A1B2C3"); };
    const auto disconnect = [](At& at) { return at.disconnect(); };
    const std::string sentConnect = "AT+CT=C4BE84A1B2C3\r\n";
    const Case cases[]{
        {setExCode, kExCode, {"BY=00\r\n"}, true},
        {setExCode, kExCode, {"BY=0\r\n"}, false},
        {setExCode, kExCode, {"BY=00 \r\n"}, false},
        {setOtherExCode, "AT+EX=00FF\r\n", {"BY=00\r\n"}, true},
        {setExLength, "AT+EXL=16\r\n", {"EXL=16\r\n"}, true},
        {setExLength, "AT+EXL=16\r\n", {"=16\r\n"}, true},
        {setExLength, "AT+EXL=16\r\n", {"ERROR\r\n"}, false},
        {setExLength, "AT+EXL=16\r\n", {"ER=16\r\n"}, false},
        {setExLength, "AT+EXL=16\r\n", {"EXL=16=16\r\n"}, false},
        {setExLength, "AT+EXL=16\r\n", {}, false},
        {setExMode, "AT+EXM=0\r\n", {"OK\r\n"}, true},
        {setExMode, "AT+EXM=0\r\n", {"O", "K", "\r", "\n"}, true},
        {setExMode, "AT+EXM=0\r\n", {"\r\nOK\r\n"}, false},
        {setExMode, "AT+EXM=0\r\n", {"ok\r\n"}, false},
        {setBy, "AT+BY=02\r\n", {"BY=02\r\n"}, true},
        {setBy, "AT+BY=02\r\n", {"BY=2\r\n"}, true},
        {setBy, "AT+BY=02\r\n", {"BY=2 of 3\r\n"}, true},
        {setBy, "AT+BY=02\r\n", {"BY=\r\n"}, false},
        {setBy, "AT+BY=02\r\n", {"BY=20\r\n"}, false},
        {setBy, "AT+BY=02\r\n", {"2\r\n"}, false},
        {setMt, "AT+MT=1\r\n", {"MT=1\r\n"}, true},
        {setMt, "AT+MT=1\r\n", {"MT=01\r\n"}, false},
        {setMt, "AT+MT=1\r\n", {"OK\r\n"}, false},
        {connect, sentConnect, {"OK\r\n+CONNECTED>>C4BE84A1B2C3\r\n"}, true},
        {connect, sentConnect, {"OK\r\n", "+CONNECTED>>\r\n"}, true},
        {connect, sentConnect, {"OK\r\n"}, false},
        {connect, sentConnect, {"OK\r\n", "+CONNECTED>\r\n"}, false},
        {connect, sentConnect, {"OK!\r\n+CONNECTED>>\r\n"}, false},
        {disconnect, "AT+DC\r\n", {"+DISCONNECT\r\n"}, true},
        {disconnect, "AT+DC\r\n", {"+DISCON", "NECT\r\n"}, true},
        {disconnect, "AT+DC\r\n", {"+DISCONNECTED\r\n"}, false},
    };
    for (const Case& each : cases) {
        ScriptedModule module(Script{{each.sent, each.answers}});
        EXPECT_EQ(each.operation(module.at), each.expected)
            << each.sent << testing::PrintToString(each.answers);
        EXPECT_EQ(module.peer.finish(), each.sent);
    }
}

TEST(EhMc17AtInterface, readsTheArText) {
    ScriptedModule module({{"AT+AR\r\n", {"AR=a=b\r\n"}}, {"AT+AR\r\n", {"AR\r\n"}}});
    EXPECT_EQ(module.at.readAr(), "a=b");
    EXPECT_EQ(module.at.readAr(), "");
}

TEST(EhMc17AtInterface, aReplyLeftOverIsNotTakenForTheNextOne) {
    ScriptedModule module(Script{{"AT+EXM=0\r\n", {"OK\r\n"}}});
    module.peer.send("ERROR\r\n");
    ASSERT_TRUE(module.port->waitForData(1000ms));
    EXPECT_TRUE(module.at.setExMode());
}

TEST(EhMc17AtInterface, aSilentModuleTakesTheTimeOut) {
    ScriptedModule module({});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_THAT(module.at.sendCommand("AT", "", 1, 60ms), IsEmpty());
    EXPECT_GE(std::chrono::steady_clock::now() - start, 60ms);
}

// Four pieces 30 ms apart are there after 90 ms. Of 100 ms the cumulative rule leaves only 100 - 0
// - 30 - 60 = 10 ms for the last of them.
TEST(EhMc17AtInterface, aReplyInPiecesGetsLessThanTheTimeOut) {
    ScriptedModule module({{"AT\r\n", {"1\r\n", "2\r\n", "3\r\n", "4\r\n"}}});
    EXPECT_THAT(module.at.sendCommand("AT", "", 4, 100ms), SizeIs(Lt(4U)));
}

TEST(EhMc17AtInterface, withoutAPortOrWithOneGoneNothingSucceeds) {
    EhMc17AtInterface without;
    EXPECT_FALSE(without.configure());
    EXPECT_THAT(without.scan(), IsEmpty());
    ScriptedModule module({});
    module.peer.unplug();
    EXPECT_FALSE(module.at.configure());
    EXPECT_THAT(module.at.scan(), IsEmpty());
    EXPECT_EQ(module.at.readAr(), "");
}

TEST(EhMc17AtInterface, configuresInOrderAndStopsAtTheFirstFailure) {
    const ScriptedPeer::Step code{kExCode, {"BY=00\r\n"}};
    const ScriptedPeer::Step codeBehindAReply{kExCode,
                                              {"\x01\x06\r\n rest of a ", "reply\rBY=00\r\n"}};
    const ScriptedPeer::Step codeRefused{kExCode, {"ERROR\r\n"}};
    const ScriptedPeer::Step drop{"AT+DC\r\n", {"ERROR\r\n"}};
    const ScriptedPeer::Step mt{"AT+MT=1\r\n", {"MT=1\r\n"}};
    const ScriptedPeer::Step mtRefused{"AT+MT=1\r\n", {"MT=0\r\n"}};
    const ScriptedPeer::Step by{"AT+BY=02\r\n", {"BY=02\r\n"}};
    const ScriptedPeer::Step byRefused{"AT+BY=02\r\n", {"BY=00\r\n"}};
    const ScriptedPeer::Step mode{"AT+EXM=0\r\n", {"OK\r\n"}};
    const ScriptedPeer::Step length{"AT+EXL=16\r\n", {"EXL=16\r\n"}};
    const ScriptedPeer::Step lengthRefused{"AT+EXL=16\r\n", {"ERROR\r\n"}};
    struct Case {
        const char* name;
        Script script;
        bool expected;
    };
    const Case cases[]{
        {"with a link to drop", {code, drop, mt, by, mode, length}, true},
        {"with one in the middle of a reply", {codeBehindAReply, drop, mt, by, mode, length}, true},
        {"without one", {codeRefused, mt, by, mode, length}, true},
        {"the first setting refused", {code, drop, mtRefused}, false},
        {"the second one", {codeRefused, mt, byRefused}, false},
        {"the last one", {codeRefused, mt, by, mode, lengthRefused}, false},
    };
    for (const Case& each : cases) {
        ScriptedModule module(each.script);
        EXPECT_EQ(module.at.configure(), each.expected) << each.name;
        EXPECT_EQ(module.peer.finish(), ScriptedPeer::awaitedBy(each.script)) << each.name;
    }
}

TEST(EhMc17AtInterface, scansByListeningWhenTheModuleSaysOk) {
    const Script script{
        {"AT+SC\r\n",
         {"OK\r\nSR=0:One,A0,-60\r\n", "SR=1:Two,A1,-50\r\nnoise\r\nSR=2:Th", "ree,A2,-70\r\n"}},
        {"AT+SC\r\n", {"OK\r\n"}}};
    ScriptedModule module(script);
    EXPECT_THAT(namesOf(module.at.scan()), ElementsAre("One", "Two", "Three"));
    EXPECT_EQ(module.peer.finish(), "AT+SC\r\nAT+SC\r\n");
}

TEST(EhMc17AtInterface, fetchesTheResultsWhenTheModuleHasThemAlready) {
    const Script script{{"AT+SC\r\n", {"+INQE\r\n"}},
                        {"AT+SR\r\n", {"SR=0:One,A0,-60\r\nERROR\r\n", "SR=1:Two,A1,-50\r\n"}}};
    ScriptedModule module(script);
    EXPECT_THAT(namesOf(module.at.scan()), ElementsAre("One", "Two"));
    EXPECT_EQ(module.peer.finish(), "AT+SC\r\nAT+SR\r\n");
}

TEST(EhMc17AtInterface, noScanWithoutTheModulesConsent) {
    for (const char* const answer : {"ERROR\r\n", "OK \r\n", "+INQE \r\n", "\r\nOK\r\n"}) {
        ScriptedModule module(Script{{"AT+SC\r\n", {answer}}});
        EXPECT_THAT(module.at.scan(), IsEmpty());
        EXPECT_EQ(module.peer.finish(), "AT+SC\r\n") << answer;
    }
}

}  // namespace
}  // namespace ovk

#include "ble/EhMc17AtInterface.h"

#include <gtest/gtest.h>

#include <functional>

#include "ScriptedPeer.h"

namespace ovk {
namespace {

using namespace std::chrono_literals;
using bletest::kExCode;
using bletest::ScriptedPeer;
using Script = ScriptedPeer::Script;

/// An AT interface with a module behind it that plays the script.
class ScriptedModule {
  public:
    explicit ScriptedModule(const Script& script) : peer(script) { EXPECT_TRUE(port->open()); }

    ScriptedPeer peer;
    std::shared_ptr<SerialPort> port = std::make_shared<SerialPort>(peer.portName());
    EhMc17AtInterface at{port};
};

TEST(EhMc17AtInterface, JudgesTheModulesAnswers) {
    using At = EhMc17AtInterface;
    struct Case {
        std::function<bool(At&)> operation;
        std::string sent;
        std::vector<std::string> accepted;  // answers, without their last line end
        std::vector<std::string> refused;
    };
    const auto setExCode = [](At& at) { return at.setExCode(""); };
    const auto setOtherExCode = [](At& at) { return at.setExCode("00FF"); };
    const auto connect = [](At& at) { return at.connect("C4BE84A1B2C3"); };
    const Case cases[]{
        {setExCode,
         kExCode,
         {"BY=00", "the rest of a replyBY=00"},
         {"BY=0", "BY=00 ", "\r\nBY=00", "OK\r\nBY=00"}},
        {setOtherExCode, "AT+EX=00FF\r\n", {"BY=00"}, {}},
        {&At::setExLength, "AT+EXL=16\r\n", {"EXL=16", "=16"}, {"ERROR", "ER=16", "EXL=16=16"}},
        {&At::setExMode, "AT+EXM=0\r\n", {"OK"}, {"\r\nOK", "ok"}},
        {&At::setBy, "AT+BY=02\r\n", {"BY=02", "BY=2", "BY=2 of 3"}, {"BY=", "BY=20", "2"}},
        {&At::setMt, "AT+MT=1\r\n", {"MT=1"}, {"MT=01", "OK"}},
        {connect,
         "AT+CT=C4BE84A1B2C3\r\n",
         {"OK\r\n+CONNECTED>>C4BE84A1B2C3", "OK\r\n+CONNECTED>>"},
         {"OK", "OK\r\n+CONNECTED>", "OK!\r\n+CONNECTED>>"}},
        {&At::disconnect, "AT+DC\r\n", {"+DISCONNECT"}, {"+DISCONNECTED"}},
    };
    const auto expect = [](const Case& each, const std::string& answer, bool isAccepted) {
        ScriptedModule module(Script{{each.sent, {answer + "\r\n"}}});
        EXPECT_EQ(each.operation(module.at), isAccepted) << each.sent << answer;
        EXPECT_EQ(module.peer.finish(), each.sent);
    };
    for (const Case& each : cases) {
        for (const std::string& answer : each.accepted) {
            expect(each, answer, true);
        }
        for (const std::string& answer : each.refused) {
            expect(each, answer, false);
        }
    }
}

TEST(EhMc17AtInterface, AReplyLeftOverIsNotTakenForTheNextOne) {
    ScriptedModule module(Script{{"AT+EXM=0\r\n", {"OK\r\n"}}});
    module.peer.send("ERROR\r\n");
    ASSERT_TRUE(module.port->waitForData(1000ms));
    EXPECT_TRUE(module.at.setExMode());
}

TEST(EhMc17AtInterface, WaitsForASilentModuleAsLongAsItMayTake) {
    using At = EhMc17AtInterface;
    const std::pair<bool (At::*)(), std::chrono::milliseconds> cases[]{
        {&At::setExLength, 100ms}, {&At::disconnect, 1000ms}, {&At::setMt, 3000ms}};
    for (const auto& [operation, timeout] : cases) {
        ScriptedModule module({});
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE((module.at.*operation)());
        const auto taken = std::chrono::steady_clock::now() - start;
        EXPECT_GE(taken, timeout);
        EXPECT_LT(taken, timeout + 800ms);
    }
}

TEST(EhMc17AtInterface, ConfiguresInOrderAndStopsAtTheFirstFailure) {
    using Step = ScriptedPeer::Step;
    const Step code{kExCode, {"BY=00\r\n"}};
    const Step codeBehindAReply{kExCode, {"\x01\x06 rest of a ", "reply\rBY=00\r\n"}};
    const Step codeOnALaterLine{kExCode, {"\r\nBY=00\r\n"}};
    const Step codeRefused{kExCode, {"ERROR\r\n"}};
    const Step drop{"AT+DC\r\n", {"ERROR\r\n"}};
    const Step mt{"AT+MT=1\r\n", {"MT=1\r\n"}};
    const Step mtRefused{"AT+MT=1\r\n", {"MT=0\r\n"}};
    const Step by{"AT+BY=02\r\n", {"BY=02\r\n"}};
    const Step byRefused{"AT+BY=02\r\n", {"BY=00\r\n"}};
    const Step mode{"AT+EXM=0\r\n", {"OK\r\n"}};
    const Step length{"AT+EXL=16\r\n", {"EXL=16\r\n"}};
    const Step lengthRefused{"AT+EXL=16\r\n", {"ERROR\r\n"}};
    struct Case {
        const char* name;
        Script script;
        bool expected;
    };
    const Case cases[]{
        {"with a link to drop", {code, drop, mt, by, mode, length}, true},
        {"with one in the middle of a reply", {codeBehindAReply, drop, mt, by, mode, length}, true},
        {"with an answer that does not count", {codeOnALaterLine, mt, by, mode, length}, true},
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

TEST(EhMc17AtInterface, ScansAsTheModuleAgreesTo) {
    struct Case {
        const char* name;
        Script script;
        std::vector<std::string> found;
    };
    const Case cases[]{
        {"listening after OK",
         {{"AT+SC\r\n",
           {"OK\r\nSR=0:One,A0,-60\r\n", "SR=1:Two,A1,-50\r\nnoise\r\nSR=2:Th", "ree,A2,-70\r\n"}},
          {"AT+SC\r\n", {"OK\r\n"}}},
         {"One", "Two", "Three"}},
        {"fetching what it has already",
         {{"AT+SC\r\n", {"+INQE\r\n"}},
          {"AT+SR\r\n", {"SR=0:One,A0,-60\r\nERROR\r\n", "SR=1:Two,A1,-50\r\n"}}},
         {"One", "Two"}},
        {"an error", {{"AT+SC\r\n", {"ERROR\r\n"}}}, {}},
        {"not quite OK", {{"AT+SC\r\n", {"OK \r\n"}}}, {}},
        {"not quite +INQE", {{"AT+SC\r\n", {"+INQE \r\n"}}}, {}},
        {"an empty line first", {{"AT+SC\r\n", {"\r\nOK\r\n"}}}, {}},
    };
    for (const Case& each : cases) {
        ScriptedModule module(each.script);
        std::vector<std::string> found;
        for (const SlaveDevice& device : module.at.scan()) {
            found.push_back(device.name);
        }
        EXPECT_EQ(found, each.found) << each.name;
        EXPECT_EQ(module.peer.finish(), ScriptedPeer::awaitedBy(each.script)) << each.name;
    }
}

}  // namespace
}  // namespace ovk

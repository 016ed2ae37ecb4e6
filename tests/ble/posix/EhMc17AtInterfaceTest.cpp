#include "ble/EhMc17AtInterface.h"

#include <gmock/gmock.h>

#include <functional>

#include "ScriptedPeer.h"

namespace ovk {
namespace {

using namespace std::chrono_literals;
using bletest::kExCode;
using bletest::ScriptedPeer;
using testing::IsEmpty;
using testing::Lt;
using testing::SizeIs;
using Script = ScriptedPeer::Script;

/// An AT interface with a module behind it that plays the script.
class ScriptedModule {
  public:
    explicit ScriptedModule(const Script& script) : peer(script) { EXPECT_TRUE(port->open()); }

    ScriptedPeer peer;
    std::shared_ptr<SerialPort> port = std::make_shared<SerialPort>(peer.portName());
    EhMc17AtInterface at{port};
};

TEST(EhMc17AtInterface, judgesTheModulesAnswers) {
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

TEST(EhMc17AtInterface, scansAsTheModuleAgreesTo) {
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

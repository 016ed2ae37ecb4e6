#include "ble/SpectrophotometerBle.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <functional>

#include "api/LogFile.h"
#include "ScriptedInstrument.h"

namespace ovk::cq {
namespace {

using namespace std::chrono_literals;
using bletest::codeOf;
using bletest::image;
using bletest::packetBytes;
using bletest::record;
using bletest::ScriptedInstrument;
using bletest::ScriptedPeer;
using bletest::u32;
using testing::ElementsAre;

// Every command with one request: its bytes, its time-out, and what each reply comes to.
TEST(SpectrophotometerBle, SendsEachCommandAndJudgesItsReply) {
    using Driver = SpectrophotometerBle;
    constexpr ResultCode kFailed = CQ_EXECUTE_COMMAND_FAILED;
    constexpr ResultCode kInvalid = CQ_INVALID_PARAMETER;
    constexpr ResultCode kWrong = CQ_INVALID_PACKET;
    struct Reply {
        std::string payload;
        ResultCode code;
    };
    struct Case {
        const char* name;
        std::function<ResultCode(Driver&)> run;
        std::string request;
        std::string timeout;
        std::vector<Reply> replies;
    };
    const std::string recordText = image(record(3));
    const auto upload = [](Driver& driver) {
        MeasurementRecords records;
        const ResultCode code = driver.uploadStandards(records, 9, 1);
        EXPECT_EQ(image(records.at(0)), image(record(3)));
        return code;
    };
    const auto uploadSample = [](Driver& driver) {
        MeasurementRecords records;
        const ResultCode code = driver.uploadSamples(records, 7, 9, 1);
        EXPECT_EQ(image(records.at(0)), image(record(3)));
        return code;
    };
    const auto measureStandard = [](Driver& driver) {
        CqMeasurementRecord measured{};
        const ResultCode code = driver.measure(RECORD_TYPE::standard, measured);
        EXPECT_EQ(code == 0, image(measured) == image(record(3)));
        return code;
    };
    const auto measureTrial = [](Driver& driver) {
        CqMeasurementRecord measured;
        return driver.measure(RECORD_TYPE::trial, measured);
    };
    const auto countSamples = [](Driver& driver) {
        std::uint32_t count = 0;
        const ResultCode code = driver.getSampleCount(0x0A0B0C0D, count);
        EXPECT_EQ(count, code == 0 ? 0x01020304U : 0U);
        return code;
    };
    const auto countStandards = [](Driver& driver) {
        std::uint32_t count = 0;
        const ResultCode code = driver.getTotalStandards(count);
        EXPECT_EQ(count, code == 0 ? 0x01020304U : 0U);
        return code;
    };
    using Replies = std::vector<Reply>;
    const Replies ok{{"OK", 0}};
    const Replies calibrated{
        {"OK", 0}, {"OK\r", kFailed}, {"FAIL", kFailed}, {"INVAL", kFailed}, {"", kFailed}};
    const Replies measured{
        {recordText, 0}, {recordText + "x", kFailed}, {"INVAL", kFailed}, {"", kFailed}};
    const Replies read{{recordText, 0},
                       {recordText.substr(1), kWrong},
                       {"", kWrong},
                       {"FAIL", kFailed},
                       {"INVAL", kInvalid}};
    const Replies acknowledged{
        {"", 0}, {"OK", 0}, {"FAIL", kFailed}, {"INVAL", kInvalid}, {std::string("FAIL\0", 5), 0}};
    const Replies counts{{u32(0x01020304), 0}, {u32(0x01020304) + "more", 0},
                         {"", kWrong},         {"123", kWrong},
                         {"FAIL", kFailed},    {"INVAL", kInvalid}};
    const Case cases[]{
        {"calibrate white", [](Driver& driver) { return driver.calibrate(true); },
         packetBytes(1, 3, "\x01"), "10000", calibrated},
        {"calibrate black", [](Driver& driver) { return driver.calibrate(false); },
         packetBytes(1, 3, std::string(1, '\0')), "10000", ok},
        {"measure a standard", measureStandard, packetBytes(1, 4, std::string(1, '\0')), "8000",
         measured},
        {"measure a trial", measureTrial, packetBytes(1, 4, "\x01"), "8000",
         Replies{{recordText, 0}}},
        {"count samples", countSamples, packetBytes(1, 5, "\x0D\x0C\x0B\x0A"), "2000", counts},
        {"count standards", countStandards, packetBytes(2, 1), "2000", counts},
        {"read a standard", upload, packetBytes(1, 6, u32(9)), "1000", read},
        {"read a sample", uploadSample, packetBytes(1, 7, u32(7) + u32(9)), "1000", read},
        {"write a standard",
         [](Driver& driver) { return driver.downloadStandards(std::array{record(3)}); },
         packetBytes(1, 8, recordText), "2000", acknowledged},
        {"delete a standard", [](Driver& driver) { return driver.deleteStandard(258); },
         packetBytes(1, 9, std::string("\x02\x01\x00\x00", 4)), "10000", acknowledged},
        {"delete everything", [](Driver& driver) { return driver.deleteStandard(CQ_ALL_RECORDS); },
         packetBytes(1, 9, "\xFF\xFF\xFF\xFF"), "10000", ok},
        {"delete a sample", [](Driver& driver) { return driver.deleteSample(1, 2); },
         packetBytes(1, 10, u32(1) + u32(2)), "10000", acknowledged},
    };
    ScriptedInstrument instrument;
    for (const Case& each : cases) {
        for (const Reply& reply : each.replies) {
            SCOPED_TRACE(std::string(each.name) + ": " + reply.payload.substr(0, 10));
            instrument.peer.play({{each.request, {packetBytes(9, 9, reply.payload)}}});
            const test::LogFile log;
            EXPECT_EQ(codeOf([&] { return each.run(instrument.driver); }), reply.code);
            EXPECT_EQ(instrument.peer.received(), each.request);
            EXPECT_THAT(log.messages(),
                        testing::Contains("waiting receiving packet... (timeout = " + each.timeout +
                                          "ms)\r\n"));
        }
    }
}

TEST(SpectrophotometerBle, AttachesToAnInstrumentThatDoesNotAnswer) {
    ScriptedPeer silent;
    const auto port = std::make_shared<SerialPort>(silent.portName());
    ASSERT_TRUE(port->open());
    SpectrophotometerBle driver;
    const auto start = std::chrono::steady_clock::now();
    driver.attach(port);
    const auto taken = std::chrono::steady_clock::now() - start;
    constexpr auto kLeast = 1200ms + 500ms + 1500ms + 500ms;
    EXPECT_GE(taken, kLeast);
    EXPECT_LT(taken, kLeast + 1500ms);  // no pause after the last try
    EXPECT_TRUE(driver.isConnected());
    EXPECT_EQ(silent.finish(), packetBytes(1, 1) + packetBytes(1, 1));
}

TEST(SpectrophotometerBle, HandsOnMeasurementsThatTheInstrumentSends) {
    const test::LogFile log;
    ScriptedInstrument instrument;
    std::vector<std::string> heard;
    instrument.driver.setResultHandler([&](RECORD_TYPE type, const CqMeasurementRecord& measured) {
        heard.push_back((type == RECORD_TYPE::standard ? "0" : "1") + image(measured));
    });
    const std::string notifications[]{
        packetBytes(1, 4, image(record(1))), packetBytes(1, 4, image(record(1)).substr(1)),
        packetBytes(2, 4, image(record(1))), packetBytes(1, 6, image(record(1))),
        packetBytes(1, 5, image(record(2)))};
    const auto countHandled = [&] {
        const auto messages = log.messages();
        return std::ranges::count_if(messages, [](const std::string& message) {
            return message.starts_with("received cmd packet");
        });
    };
    for (const std::string& notification : notifications) {
        // One at a time: two in one read are none.
        const auto before = countHandled();
        instrument.peer.send(notification);
        ASSERT_TRUE(cqtest::waitUntil([&] { return countHandled() > before; }));
    }
    instrument.driver.close();
    EXPECT_THAT(heard, ElementsAre("0" + image(record(1)), "1" + image(record(2))));
    EXPECT_THAT(log.messages(),
                testing::Contains("received cmd packet from instrument: type = 1, cmd = 4, "
                                  "data_len = 255\r\n"));
}

TEST(SpectrophotometerBle, SaysGoodbyeAndUnlinksTheAdapter) {
    for (const bool isAnswered : {true, false}) {
        ScriptedInstrument instrument;
        const ScriptedPeer::Script script{
            {packetBytes(1, 2), {isAnswered ? packetBytes(1, 2) : std::string()}},
            {bletest::kExCode, {isAnswered ? "BY=00\r\n" : "ERROR\r\n"}},
            {"AT+DC\r\n", {"+DISCONNECT\r\n"}}};
        instrument.peer.play(script);
        EXPECT_EQ(instrument.driver.portName(), instrument.port->portName());
        const auto ofTheHandler = std::make_shared<int>();
        instrument.driver.setResultHandler([ofTheHandler](auto, const auto&) {});
        instrument.driver.close();
        EXPECT_EQ(ofTheHandler.use_count(), 1);
        EXPECT_EQ(instrument.peer.received(), ScriptedPeer::awaitedBy(script));
        EXPECT_FALSE(instrument.port->hasHandle());
        EXPECT_FALSE(instrument.driver.isConnected());
        EXPECT_EQ(instrument.driver.portName(), "");
        instrument.driver.close();
        EXPECT_EQ(codeOf([&] { return instrument.driver.calibrate(true); }), CQ_DEVICE_IS_CLOSED);
    }
}

}  // namespace
}  // namespace ovk::cq

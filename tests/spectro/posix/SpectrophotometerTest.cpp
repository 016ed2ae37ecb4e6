// The wired driver, with a script in the instrument's place.

#include "spectro/Spectrophotometer.h"

#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <functional>
#include <future>
#include <string>

#include "ble/posix/ScriptedPeer.h"
#include "CQCommProtocol/DataPacket.h"
#include "peer/WaitUntil.h"

namespace ovk::cq {
namespace {

using namespace std::chrono_literals;
using bletest::ScriptedPeer;
using test::Bytes;
using test::hex;
using test::kAbort;
using test::kLast;
using test::kMore;
using testing::ElementsAre;

std::string text(std::span<const std::uint8_t> bytes) {
    return {bytes.begin(), bytes.end()};
}

/// A transfer to the instrument that fits into one packet.
std::string command(const Bytes& operationAndPayload) {
    return text(DataPacket(7, 0, true, operationAndPayload).bytes());
}

/// A transfer to the host, or a piece of one.
std::string data(std::uint8_t flag, Bytes payload, std::uint32_t sequence = 0) {
    return text(test::dataPacket(sequence, flag, payload));
}

std::string acknowledged(std::uint8_t flag = 0, std::uint32_t number = 1) {
    return text(test::acknowledgement(flag, number));
}

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

const std::string kHostsAcknowledgement = text(hex("55 AA A7 07 01 00 00 00"));

/// The instrument's part in the shake-hands: it takes packets of up to 512 bytes.
const ScriptedPeer::Script kShakeHands{{text(hex("55 AA A1 00 00 00 02 00 02")),
                                        {text(hex("AA 55 A2 07 00 00 02 00 00 00 00 00 00"))}},
                                       {text(hex("55 AA A3 07")), {}}};

class SpectrophotometerTest : public testing::Test {
  protected:
    SpectrophotometerTest() {
        peer.play(kShakeHands);
        EXPECT_EQ(driver.open(peer.portName()), CQ_NO_ERROR);
        peer.awaitSteps(2);
        driver.setResultHandler([this](RECORD_TYPE type, const CqMeasurementRecord& record) {
            pressed_.push_back((type == RECORD_TYPE::standard ? 'S' : 'T') +
                               std::to_string(record.bytes[0]));
            hasPressed = true;
        });
    }
    ~SpectrophotometerTest() override {
        peer.unplug();
    }  // nobody waits for an answer to the goodbye

    /// Runs the operation while the script is played, which must be said whole.
    ResultCode run(const ScriptedPeer::Script& script,
                   const std::function<ResultCode()>& operation) {
        peer.play(script);
        const ResultCode code = operation();
        EXPECT_EQ(peer.received(), ScriptedPeer::awaitedBy(script));
        return code;
    }
    std::vector<std::string> pressed() {
        driver.setResultHandler({});  // waits for one that runs
        return pressed_;
    }

    ScriptedPeer peer;
    std::atomic<bool> hasPressed{false};
    Spectrophotometer driver;

  private:
    std::vector<std::string> pressed_;
};

TEST_F(SpectrophotometerTest, SendsEachCommandAndJudgesItsReply) {
    constexpr std::size_t kSendOnly = 0;
    struct Case {
        const char* name;
        std::function<ResultCode()> run;
        Bytes command;
        std::size_t replySize;
    };
    CqDeviceInfo info;
    CqInstrumentStatus status;
    CqMeasurementRecord record{};
    CqWhiteBoardParameter board{};
    MeasurementRecords records;
    std::uint32_t number = 0;
    const Case cases[]{
        {"device information", [&] { return driver.getDeviceInfo(info); }, hex("21"), 136},
        {"status", [&] { return driver.getInstrumentStatus(status); }, hex("22"), 20},
        {"a standard", [&] { return driver.measure(RECORD_TYPE::standard, record); }, hex("23"),
         256},
        {"a trial", [&] { return driver.measure(RECORD_TYPE::trial, record); }, hex("24"), 256},
        {"white", [&] { return driver.calibrate(true); }, hex("25 01"), kSendOnly},
        {"black", [&] { return driver.calibrate(false); }, hex("25 00"), kSendOnly},
        {"read the board", [&] { return driver.getWhiteBoardParameter(board); }, hex("26"), 280},
        {"write the board", [&] { return driver.setWhiteBoardParameter(CqWhiteBoardParameter{}); },
         hex("27") + Bytes(280), kSendOnly},
        {"standards", [&] { return driver.getTotalStandards(number); }, hex("2A"), 4},
        {"samples", [&] { return driver.getSampleCount(9, number); }, hex("2B"), 4},
        {"read standards", [&] { return driver.uploadStandards(records, 0x0102, 2); },
         hex("2C 02 01 00 00 02 00 00 00"), 512},
        {"read samples", [&] { return driver.uploadSamples(records, 5, 0x0102, 1); },
         hex("2D 02 01 00 00 01 00 00 00 05 00 00 00"), 256},
        {"delete a standard", [&] { return driver.deleteStandard(3); }, hex("35 03 00 00 80"),
         kSendOnly},
        {"delete all", [&] { return driver.deleteStandard(CQ_ALL_RECORDS); }, hex("35 FF FF FF FF"),
         kSendOnly},
        {"delete a sample", [&] { return driver.deleteSample(3, 4); },
         hex("36 03 00 00 00 04 00 00 00"), kSendOnly},
        {"read a parameter", [&] { return driver.getMeasurementParameter(9, number); },
         hex("B3 09"), 1},
        {"write a parameter", [&] { return driver.setMeasurementParameter(9, 8); }, hex("B4 09 08"),
         kSendOnly},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        if (each.replySize == kSendOnly) {
            EXPECT_EQ(run({{command(each.command), {acknowledged()}}}, each.run), CQ_NO_ERROR);
            continue;
        }
        for (const std::size_t size : {each.replySize, each.replySize - 1, each.replySize + 1}) {
            const Bytes reply = Bytes(1, each.command[0]) + test::pattern(size);
            const ScriptedPeer::Script script{
                {command(each.command), {acknowledged() + data(kLast, reply)}},
                {kHostsAcknowledgement, {}}};
            EXPECT_EQ(run(script, each.run),
                      size == each.replySize ? CQ_NO_ERROR : CQ_INVALID_PACKET);
        }
    }
    EXPECT_EQ(Bytes(record.bytes, record.bytes + 256), test::pattern(256));
    EXPECT_EQ(number, test::pattern(1)[0]);
}

// Wherever in the exchange the instrument gives up: the call ends at once with its number, and of
// what has come of the reply no byte is left for the next one.
TEST_F(SpectrophotometerTest, EndsWithTheInstrumentsErrorAndLeavesNothingBehind) {
    const std::string request = command(hex("2A"));
    const std::string half = data(kMore, hex("2A 09 09"));
    const std::string abort = acknowledged(kAbort, 0x0102);
    std::uint32_t count = 0;
    const auto ask = [&] { return driver.getTotalStandards(count); };
    for (const ScriptedPeer::Script& script : {
             ScriptedPeer::Script{{request, {abort}}},
             ScriptedPeer::Script{{request, {acknowledged() + abort}}},
             ScriptedPeer::Script{{request, {acknowledged() + half}},
                                  {kHostsAcknowledgement, {abort}}},
             ScriptedPeer::Script{{request, {acknowledged() + half}},
                                  {kHostsAcknowledgement, {data(kAbort, {}, 0x0102)}}},
         }) {
        EXPECT_EQ(run(script, ask), CQ_EXECUTE_COMMAND_FAILED);
        EXPECT_EQ(driver.lastInstrumentError(), 0x0102U);
        EXPECT_EQ(count, 0U);
    }
    EXPECT_EQ(run({{request, {acknowledged() + data(kLast, hex("2A 04 03 02 01"))}},
                   {kHostsAcknowledgement, {}}},
                  ask),
              CQ_NO_ERROR);
    EXPECT_EQ(count, 0x01020304U);
    const auto calibrate = [&] { return driver.calibrate(true); };
    EXPECT_EQ(run({{command(hex("25 01")), {acknowledged(kAbort, 0)}}}, calibrate),
              CQ_EXECUTE_COMMAND_FAILED)
        << "an abort that names no error";
    EXPECT_NE(driver.lastInstrumentError(), 0U);
    EXPECT_EQ(run({{command(hex("25 01")), {acknowledged()}}}, calibrate), CQ_NO_ERROR);
    EXPECT_EQ(driver.lastInstrumentError(), 0U);
}

TEST_F(SpectrophotometerTest, AsksForTheRoomThatIsLeftBeforeItWrites) {
    Bytes info(136, 0xEE);
    info[128] = 5;
    info[129] = info[130] = info[131] = 0;
    const std::array<CqMeasurementRecord, 1> record{};
    for (const std::uint8_t stored : {std::uint8_t{4}, std::uint8_t{5}}) {
        ScriptedPeer::Script script{
            {command(hex("21")), {acknowledged() + data(kLast, hex("21") + info)}},
            {kHostsAcknowledgement, {}},
            {command(hex("2A")),
             {acknowledged() + data(kLast, hex("2A") + Bytes{stored, 0, 0, 0})}},
            {kHostsAcknowledgement, {}}};
        if (stored == 4) {
            script.push_back({command(hex("2E") + Bytes(256)), {acknowledged()}});
        }
        EXPECT_EQ(run(script, [&] { return driver.downloadStandards(record); }),
                  stored == 4 ? CQ_NO_ERROR : CQ_NO_ENOUGH_STORAGE);
    }
}

// The instrument names a thousand and sends two: what the host's array has beyond them is not touched.
TEST(WiredUpload, WritesWhatHasComeAndNothingElse) {
    ScriptedPeer peer(kShakeHands);
    const CqHandle handle = cqOpen(peer.portName().c_str());
    ASSERT_NE(handle, nullptr);
    peer.awaitSteps(2);  // the confirmation may still be on its way
    const auto upload = [&](std::uint8_t counting, const Bytes& asked, const auto& operation) {
        const ScriptedPeer::Script script{
            {command(Bytes{counting}),
             {acknowledged() + data(kLast, Bytes{counting, 0xE8, 0x03, 0, 0})}},
            {kHostsAcknowledgement, {}},
            {command(asked), {acknowledged() + data(kLast, Bytes(1, asked[0]) + Bytes(512, 1))}},
            {kHostsAcknowledgement, {}}};
        peer.play(script);
        std::array<CqMeasurementRecord, 4> records;
        std::memset(records.data(), 0xEE, sizeof(records));
        EXPECT_EQ(operation(records.data()), CQ_NO_ERROR);
        EXPECT_EQ(records[1].bytes[255], 1);
        EXPECT_EQ(records[2].bytes[0], 0xEE);
        EXPECT_EQ(peer.received(), ScriptedPeer::awaitedBy(script));
    };
    upload(0x2A, hex("2C 03 00 00 00 E5 03 00 00"), [&](CqMeasurementRecord* records) {
        return cqUploadStandards(handle, records, 3, CQ_ALL_RECORDS);
    });
    upload(0x2B, hex("2D 00 00 00 00 E8 03 00 00 00 00 00 00"), [&](CqMeasurementRecord* records) {
        return cqUploadSamples(handle, records, 0, 0, CQ_ALL_RECORDS);
    });
    peer.unplug();
    cqClose(handle);
}

// Pressed while a request waits for its reply, which is of another operation; an aborted one, one of
// the wrong size and other transfers reach nobody.
TEST_F(SpectrophotometerTest, TellsPressedMeasurementsFromReplies) {
    std::uint32_t count = 0;
    EXPECT_EQ(run({{command(hex("2A")), {acknowledged() + data(kLast, hex("23") + Bytes(256, 1))}},
                   {kHostsAcknowledgement, {data(kLast, hex("24") + Bytes(256, 2))}},
                   {kHostsAcknowledgement, {data(kLast, hex("2A 01 00 00 00"))}},
                   {kHostsAcknowledgement, {}}},
                  [&] { return driver.getTotalStandards(count); }),
              CQ_NO_ERROR);
    EXPECT_EQ(count, 1U);
    peer.play({});
    for (const Bytes& payload : {hex("23") + Bytes(255), hex("24") + Bytes(257),
                                 hex("2A") + Bytes(256), hex("23") + Bytes(256, 3)}) {
        if (payload.back() == 3) {
            peer.send(data(kMore, hex("23 09 09")) + data(kAbort, {}, 5));
            hasPressed = false;
        }
        peer.send(data(kLast, payload));
    }
    EXPECT_TRUE(cqtest::waitUntil([&] { return hasPressed.load(); }));
    EXPECT_THAT(pressed(), ElementsAre("S1", "T2", "S3"));
}

// The call has ended by then, so that the measurement is one that nobody waits for.
TEST_F(SpectrophotometerTest, HandsOnAMeasurementThatComesTooLate) {
    peer.play({{command(hex("24")), {}}});
    const auto start = std::chrono::steady_clock::now();
    CqMeasurementRecord record;
    EXPECT_EQ(driver.measure(RECORD_TYPE::trial, record), CQ_SENDING_TIMEOUT);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 15s);
    peer.send(data(kLast, hex("24") + Bytes(256, 7)));
    EXPECT_TRUE(cqtest::waitUntil([&] { return hasPressed.load(); }));
    EXPECT_THAT(pressed(), ElementsAre("T7"));
}

// The longest times, nearly used up: with half of them these calls would run out of time.
TEST_F(SpectrophotometerTest, GivesLongCommandsTheirTime) {
    const auto answerAfter = [this](std::chrono::milliseconds delay, const Bytes& asked,
                                    const std::string& answer,
                                    const std::function<ResultCode()>& operation) {
        peer.play({{command(asked), {}}});
        auto code = std::async(std::launch::async, operation);
        peer.awaitSteps(1);
        std::this_thread::sleep_for(delay);
        peer.send(answer);
        return code.get();
    };
    MeasurementRecords records;
    EXPECT_EQ(answerAfter(8s, hex("2C 00 00 00 00 64 00 00 00"),
                          acknowledged() + data(kLast, hex("2C") + Bytes(25600)),
                          [&] { return driver.uploadStandards(records, 0, 100); }),
              CQ_NO_ERROR);
    EXPECT_EQ(answerAfter(6s, hex("35 FF FF FF FF"), acknowledged(),
                          [&] { return driver.deleteStandard(CQ_ALL_RECORDS); }),
              CQ_NO_ERROR);
}

}  // namespace
}  // namespace ovk::cq

#include <gmock/gmock.h>

#include <array>
#include <cstring>

#include "ScriptedInstrument.h"

namespace ovk::cq {
namespace {

using bletest::codeOf;
using bletest::image;
using bletest::packetBytes;
using bletest::pattern;
using bletest::record;
using bletest::ScriptedInstrument;
using bletest::ScriptedPeer;
using bletest::u32;

/// Requests by their bytes, each answered with a payload.
class Dialogue {
  public:
    Dialogue& ask(int type, int cmd, const std::string& payload, const std::string& answer) {
        script_.push_back({packetBytes(type, cmd, payload), {packetBytes(type, cmd, answer)}});
        return *this;
    }
    /// Runs the operation against an instrument that has its part of the dialogue; the driver must
    /// say all of the other part and no more.
    template <class Operation>
    ResultCode run(const Operation& operation) const {
        static ScriptedInstrument instrument;  // greeting one takes more than a second
        instrument.peer.play(script_);
        const ResultCode code = codeOf([&] { return operation(instrument.driver); });
        EXPECT_EQ(instrument.peer.received(), ScriptedPeer::awaitedBy(script_));
        return code;
    }

  private:
    ScriptedPeer::Script script_;
};

TEST(SpectrophotometerBle, UploadsTheRecordsAskedFor) {
    struct Case {
        const char* name;
        std::uint32_t start;
        std::uint32_t count;
        std::string total;  // if asked for
        std::vector<std::uint32_t> indices;
    };
    const Case cases[]{
        {"a few", 5, 2, "", {5, 6}},
        {"none", 5, 0, "", {}},
        {"all", 0, CQ_ALL_RECORDS, u32(3), {0, 1, 2}},
        {"all from one on", 2, CQ_ALL_RECORDS, u32(4), {2, 3}},
        {"all from beyond the last", 9, CQ_ALL_RECORDS, u32(4), {}},
        {"a start below 0", 0xFFFFFFF9, 1, "", {0}},
        {"a count below 0", 1, 0x80000000, u32(2), {1}},
        {"a total below 0", 0, CQ_ALL_RECORDS, u32(0xFFFFFFFF), {}},
        {"the last indices there are", 0x7FFFFFFF, 2, "", {0x7FFFFFFF, 0x80000000}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        Dialogue standards;
        Dialogue samples;
        if (!each.total.empty()) {
            standards.ask(2, 1, "", each.total);
            samples.ask(1, 5, u32(77), each.total);
        }
        for (const std::uint32_t index : each.indices) {
            standards.ask(1, 6, u32(index), image(record(index % 100)));
            samples.ask(1, 7, u32(77) + u32(index), image(record(1)));
        }
        MeasurementRecords records;
        const auto uploadStandards = [&](auto& driver) {
            return driver.uploadStandards(records, each.start, each.count);
        };
        const auto uploadSamples = [&](auto& driver) {
            return driver.uploadSamples(records, 77, each.start, each.count);
        };
        EXPECT_EQ(standards.run(uploadStandards), 0U);
        ASSERT_EQ(records.size(), each.indices.size());
        for (std::size_t i = 0; i < records.size(); ++i) {
            EXPECT_EQ(image(records[i]), image(record(each.indices[i] % 100)));
        }
        EXPECT_EQ(samples.run(uploadSamples), 0U);
        EXPECT_EQ(records.size(), 2 * each.indices.size());
    }
}

TEST(SpectrophotometerBle, AnUploadOrDownloadStopsAtTheFirstFailure) {
    MeasurementRecords records;
    const auto upload = [&](auto& driver) { return driver.uploadStandards(records, 0, 3); };
    Dialogue uploading;
    uploading.ask(1, 6, u32(0), image(record(0))).ask(1, 6, u32(1), "FAIL");
    EXPECT_EQ(uploading.run(upload), CQ_EXECUTE_COMMAND_FAILED);
    EXPECT_EQ(records.size(), 1U);

    const std::array sent{record(1), record(2), record(3)};
    Dialogue downloading;
    downloading.ask(1, 8, image(sent[0]), "OK").ask(1, 8, image(sent[1]), "INVAL");
    EXPECT_EQ(downloading.run([&](auto& driver) { return driver.downloadStandards(sent); }),
              CQ_INVALID_PARAMETER);
}

TEST(SpectrophotometerBle, GathersTheStatusItemByItem) {
    Dialogue dialogue;
    dialogue.ask(2, 17, "", "A").ask(2, 16, "", "B").ask(2, 0, "", "C").ask(2, 14, "", "D");
    dialogue.ask(2, 15, "", "E").ask(2, 18, "", "F").ask(2, 19, "", "Gx").ask(2, 20, "", "H");
    dialogue.ask(2, 1, "", u32(0x00051234));
    CqInstrumentStatus status;
    std::memset(&status, '.', sizeof(status));
    const auto getStatus = [&](auto& driver) { return driver.getInstrumentStatus(status); };
    EXPECT_EQ(dialogue.run(getStatus), 0U);
    EXPECT_EQ(image(status), "B..A.EDFHG\x34\x12..\x01.....");

    EXPECT_EQ(Dialogue().ask(2, 17, "", "A").ask(2, 16, "", "").run(getStatus), CQ_INVALID_PACKET);
    EXPECT_EQ(Dialogue().ask(2, 17, "", "FAIL").run(getStatus), CQ_EXECUTE_COMMAND_FAILED);
}

/// A field's text and the zeros behind it.
std::string padded(std::string text, std::size_t size) {
    text.resize(size, '\0');
    return text;
}

TEST(SpectrophotometerBle, GathersTheDeviceInformationTextByText) {
    Dialogue dialogue;
    dialogue.ask(2, 4, "", "four").ask(2, 3, "", "fifteen letters").ask(2, 6, "", "FAIL");
    dialogue.ask(2, 7, "", std::string(31, '7')).ask(2, 11, "", "");
    dialogue.ask(2, 12, "", std::string("12\0what follows a NUL is dropped", 32));
    CqDeviceInfo info;
    std::memset(&info, '.', sizeof(info));
    const auto getInfo = [&](auto& driver) { return driver.getDeviceInfo(info); };
    EXPECT_EQ(dialogue.run(getInfo), 0U);
    EXPECT_EQ(image(info), padded("fifteen letters", 16) + padded("", 16) + padded("four", 16) +
                               padded(std::string(31, '7'), 32) + padded("FAIL", 16) +
                               padded("12", 40));

    // One character too long: that field is left empty, and the texts after it are not asked for.
    Dialogue tooLong;
    tooLong.ask(2, 4, "", "four").ask(2, 3, "", "sixteen letters!");
    EXPECT_EQ(tooLong.run(getInfo), CQ_INVALID_PACKET);
    EXPECT_EQ(image(info), padded("", 32) + padded("four", 104));
}

TEST(SpectrophotometerBle, ReadsTheWhiteBoardParameter) {
    const std::pair<std::string, ResultCode> cases[]{{pattern(248), 0},
                                                     {pattern(300), 0},
                                                     {pattern(247), CQ_INVALID_PACKET},
                                                     {"FAIL", CQ_EXECUTE_COMMAND_FAILED},
                                                     {"INVAL", CQ_INVALID_PARAMETER}};
    for (const auto& [block, code] : cases) {
        Dialogue dialogue;
        dialogue.ask(2, 12, "", "tile 7").ask(2, 13, "", block);
        CqWhiteBoardParameter parameter;
        std::memset(&parameter, '.', sizeof(parameter));
        const auto get = [&](auto& driver) { return driver.getWhiteBoardParameter(parameter); };
        EXPECT_EQ(dialogue.run(get), code);
        const auto blocks = code == 0 ? block.substr(0, 248) : std::string(248, '.');
        EXPECT_EQ(image(parameter), padded("tile 7", 7) + std::string(25, '.') + blocks);
    }
}

TEST(SpectrophotometerBle, WritesTheWhiteBoardTextAndAnAddressInPlaceOfTheBlock) {
    const std::pair<std::string, ResultCode> cases[]{{"OK", 0},
                                                     {"INVAL", CQ_INVALID_PARAMETER},
                                                     {"FAIL", CQ_EXECUTE_COMMAND_FAILED},
                                                     {"", CQ_EXECUTE_COMMAND_FAILED},
                                                     {"OK\r\n", CQ_EXECUTE_COMMAND_FAILED}};
    CqWhiteBoardParameter parameter{};
    std::memset(parameter.text, 'x', sizeof(parameter.text));  // without a NUL
    const std::string text = packetBytes(2, 23, std::string(16, 'x'));
    ScriptedInstrument instrument;
    const auto write = [&] { return instrument.driver.setWhiteBoardParameter(parameter); };
    for (const auto& [answer, code] : cases) {
        instrument.peer.play({{text, {packetBytes(2, 23, "OK")}},
                              {packetBytes(2, 24, "address."), {packetBytes(2, 24, answer)}}});
        EXPECT_EQ(codeOf(write), code);
        const std::string sent = instrument.peer.received();
        ASSERT_EQ(sent.size(), text.size() + 12);
        EXPECT_EQ(sent.substr(0, text.size() + 4), text + std::string("\x02\x18\x08\x00", 4));
        // The block was on this thread's stack, not far from here.
        std::uint64_t address = 0;
        std::memcpy(&address, sent.data() + text.size() + 4, sizeof(address));
        EXPECT_LT(reinterpret_cast<std::uintptr_t>(&address) - address, 1'000'000U);
    }
    instrument.peer.play({{text, {packetBytes(2, 23, "FAIL")}}});
    EXPECT_EQ(codeOf(write), CQ_EXECUTE_COMMAND_FAILED);
    EXPECT_EQ(instrument.peer.received(), text);
}

}  // namespace
}  // namespace ovk::cq

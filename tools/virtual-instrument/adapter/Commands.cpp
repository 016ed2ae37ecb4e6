#include "adapter/Commands.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "adapter/Packet.h"

namespace vi::adapter {
namespace {

constexpr std::uint32_t kAll = 0xFFFFFFFF;
constexpr std::uint16_t kAnySize = 0xFFFF;

// The place of the two blocks in a white-board parameter.
constexpr std::size_t kBoardBlocks = 32;
constexpr std::size_t kBoardBlocksSize = 248;
constexpr std::size_t kHostAddressSize = 8;

// In a measurement record: the running number of the standard itself, and that of the standard to
// which a trial belongs.
constexpr std::size_t kNumber = 8;
constexpr std::size_t kStandardNumber = 40;

struct Call {
    Instrument& instrument;
    std::uint8_t cmd;
    ByteView payload;
    TimePoint now;
    Answer& answer;

    void reply(const char* text) const { answer.payload = word(text); }
    void reply(ByteView bytes) const { answer.payload.assign(bytes.begin(), bytes.end()); }
    void reply(std::uint32_t number) const { put32(answer.payload, number); }
    void reply(Error error) const {
        switch (error) {
            case Error::none:
                return reply("OK");
            case Error::noSuchRecord:
            case Error::badParameter:
                return reply("INVAL");
            default:
                return reply("FAIL");
        }
    }
};

/// The places of a standard's samples in the list of all samples; nothing if there is no such
/// standard.
std::optional<std::vector<std::uint32_t>> samplesOf(const Instrument& instrument,
                                                    std::uint32_t standard) {
    const auto& standards = instrument.records(Kind::standard);
    if (standard != kAll && standard >= standards.size()) {
        return std::nullopt;
    }
    const auto& samples = instrument.records(Kind::trial);
    std::vector<std::uint32_t> places;
    for (std::uint32_t place = 0; place < samples.size(); ++place) {
        if (standard == kAll ||
            get32(samples[place], kStandardNumber) == get32(standards[standard], kNumber)) {
            places.push_back(place);
        }
    }
    return places;
}

/// The place in the list of all samples of the one that the payload names by standard and sample.
std::optional<std::uint32_t> sampleNamedBy(const Call& call) {
    const auto places = samplesOf(call.instrument, get32(call.payload, 0));
    const std::uint32_t sample = get32(call.payload, 4);
    return places && sample < places->size() ? std::optional((*places)[sample]) : std::nullopt;
}

void acknowledge(const Call& call) {
    call.reply("OK");
}

void calibrate(const Call& call) {
    const std::uint8_t which = call.payload[0];
    if (which > 1) {
        return call.reply("INVAL");
    }
    const auto outcome = which == 1 ? call.instrument.calibrateWhite(call.now)
                                    : call.instrument.calibrateBlack(call.now);
    call.answer.ready = outcome.ready;
    call.reply(outcome.error);
}

void measure(const Call& call) {
    const std::uint8_t which = call.payload[0];
    if (which > 1) {
        return call.reply("INVAL");
    }
    const auto measurement =
        call.instrument.measure(which == 0 ? Kind::standard : Kind::trial, call.now);
    call.answer.ready = measurement.ready;
    if (measurement.error != Error::none) {
        return call.reply(measurement.error);
    }
    call.reply(measurement.record);
}

void countSamples(const Call& call) {
    const auto places = samplesOf(call.instrument, get32(call.payload, 0));
    places ? call.reply(static_cast<std::uint32_t>(places->size())) : call.reply("INVAL");
}

void readStandard(const Call& call) {
    const auto& standards = call.instrument.records(Kind::standard);
    const std::uint32_t index = get32(call.payload, 0);
    index < standards.size() ? call.reply(standards[index]) : call.reply("INVAL");
}

void readSample(const Call& call) {
    const auto place = sampleNamedBy(call);
    place ? call.reply(call.instrument.records(Kind::trial)[*place]) : call.reply("INVAL");
}

void writeStandard(const Call& call) {
    call.reply(call.instrument.append(call.payload));
}

void eraseStandard(const Call& call) {
    const std::uint32_t index = get32(call.payload, 0);
    if (index == kAll) {
        call.instrument.eraseAll();
        return call.reply("OK");
    }
    call.reply(call.instrument.erase(Kind::standard, index));
}

void eraseSample(const Call& call) {
    const auto place = sampleNamedBy(call);
    call.reply(place ? call.instrument.erase(Kind::trial, *place) : Error::noSuchRecord);
}

void countStandards(const Call& call) {
    call.reply(call.instrument.count(Kind::standard));
}

void readStatusItem(const Call& call) {
    call.answer.payload.push_back(call.instrument.statusItem(call.cmd));
}

void readText(const Call& call) {
    const std::string text = call.instrument.text(call.cmd);
    call.answer.payload.assign(text.begin(), text.end());
}

void readWhiteBoard(const Call& call) {
    call.reply(ByteView(call.instrument.whiteBoard()).subspan(kBoardBlocks, kBoardBlocksSize));
}

void writeWhiteBoardText(const Call& call) {
    if (call.payload.size() >= Instrument::kWhiteBoardTextSize) {
        return call.reply("INVAL");
    }
    Instrument::WhiteBoard board = call.instrument.whiteBoard();
    std::fill_n(board.begin(), Instrument::kWhiteBoardTextSize, std::uint8_t{0});
    std::ranges::copy(call.payload, board.begin());
    call.instrument.setWhiteBoard(board);
    call.reply("OK");
}

// A host sends an address in its own memory here: there is nothing to write.
void writeWhiteBoard(const Call& call) {
    call.reply("OK");
}

struct Command {
    std::uint8_t type;
    std::uint8_t cmd;
    std::uint16_t payloadSize;
    const char* name;
    void (*run)(const Call&);
};

constexpr Command kCommands[] = {
    {kRecords, kHello, 0, "hello", acknowledge},
    {kRecords, kGoodbye, 0, "goodbye", acknowledge},
    {kRecords, 3, 1, "calibrate", calibrate},
    {kRecords, 4, 1, "measure", measure},
    {kRecords, 5, 4, "count samples", countSamples},
    {kRecords, 6, 4, "read standard", readStandard},
    {kRecords, 7, 8, "read sample", readSample},
    {kRecords, 8, sizeof(Record), "write standard", writeStandard},
    {kRecords, 9, 4, "erase standard", eraseStandard},
    {kRecords, 10, 8, "erase sample", eraseSample},
    {kSettings, 0, 0, "status item", readStatusItem},
    {kSettings, 1, 0, "count standards", countStandards},
    {kSettings, 3, 0, "text", readText},
    {kSettings, 4, 0, "text", readText},
    {kSettings, 6, 0, "text", readText},
    {kSettings, 7, 0, "text", readText},
    {kSettings, 11, 0, "text", readText},
    {kSettings, 12, 0, "text", readText},
    {kSettings, 13, 0, "read white board", readWhiteBoard},
    {kSettings, 14, 0, "status item", readStatusItem},
    {kSettings, 15, 0, "status item", readStatusItem},
    {kSettings, 16, 0, "status item", readStatusItem},
    {kSettings, 17, 0, "status item", readStatusItem},
    {kSettings, 18, 0, "status item", readStatusItem},
    {kSettings, 19, 0, "status item", readStatusItem},
    {kSettings, 20, 0, "status item", readStatusItem},
    {kSettings, 23, kAnySize, "write white-board text", writeWhiteBoardText},
    {kSettings, 24, kHostAddressSize, "write white board", writeWhiteBoard},
};

const Command* find(std::uint8_t type, std::uint8_t cmd) {
    const auto* const found = std::ranges::find_if(
        kCommands, [&](const Command& c) { return c.type == type && c.cmd == cmd; });
    return found == std::end(kCommands) ? nullptr : found;
}

}  // namespace

Bytes word(const char* text) {
    const std::string characters = text;
    return {characters.begin(), characters.end()};
}

Answer execute(Instrument& instrument, std::uint8_t type, std::uint8_t cmd, ByteView payload,
               TimePoint now) {
    Answer answer{.payload = {}, .ready = now};
    const Call call{instrument, cmd, payload, now, answer};
    const Command* const command = find(type, cmd);
    if (command == nullptr) {
        call.reply("FAIL");
    } else if (command->payloadSize != kAnySize && command->payloadSize != payload.size()) {
        call.reply("INVAL");
    } else {
        command->run(call);
    }
    return answer;
}

const char* commandName(std::uint8_t type, std::uint8_t cmd) {
    const Command* const command = find(type, cmd);
    return command == nullptr ? "unknown" : command->name;
}

}  // namespace vi::adapter

#include "wired/Commands.h"

#include <algorithm>
#include <span>
#include <string>

namespace vi::wired {
namespace {

constexpr std::uint16_t kAnySize = 0xFFFF;
constexpr std::uint32_t kEraseBit = 0x80000000;
constexpr std::uint32_t kEraseAll = 0xFFFFFFFF;
constexpr std::size_t kRecordSize = std::tuple_size_v<Record>;

struct Call {
    Instrument& instrument;
    ByteView payload;
    TimePoint now;
    Answer& answer;
};

void putText(Bytes& to, const std::string& text, std::size_t size) {
    const std::size_t end = to.size() + size;
    const std::size_t length = std::min(text.size(), size - 1);
    to.insert(to.end(), text.begin(), text.begin() + static_cast<std::ptrdiff_t>(length));
    to.resize(end);
}

void readDeviceInfo(const Call& call) {
    Bytes& reply = call.answer.reply;
    putText(reply, call.instrument.text(3), 16);
    putText(reply, call.instrument.text(11), 16);
    putText(reply, call.instrument.text(4), 16);
    putText(reply, call.instrument.text(7), 32);
    putText(reply, call.instrument.text(6), 16);
    putText(reply, call.instrument.text(12), 16);
    reply.resize(128);
    put32(reply, call.instrument.capacity());
    put32(reply, 0);
}

void readStatus(const Call& call) {
    struct Place {
        std::size_t offset;
        int item;
    };
    static constexpr Place kPlaces[] = {{0, 16}, {3, 17}, {5, 15}, {6, 14},
                                        {7, 18}, {8, 20}, {9, 19}, {14, 0}};
    Bytes& reply = call.answer.reply;
    reply.resize(10);
    put16(reply, std::min<std::uint32_t>(call.instrument.count(Kind::standard), 0xFFFF));
    reply.resize(20);
    for (const Place& place : kPlaces) {
        reply[place.offset] = call.instrument.statusItem(place.item);
    }
}

void measure(const Call& call, Kind kind) {
    const auto measurement = call.instrument.measure(kind, call.now);
    call.answer.error = measurement.error;
    call.answer.ready = measurement.ready;
    call.answer.reply.assign(measurement.record.begin(), measurement.record.end());
}

void measureStandard(const Call& call) {
    measure(call, Kind::standard);
}
void measureTrial(const Call& call) {
    measure(call, Kind::trial);
}

void calibrate(const Call& call) {
    const std::uint8_t which = call.payload[0];
    if (which > 1) {
        call.answer.error = Error::badParameter;
        return;
    }
    const auto outcome = which == 1 ? call.instrument.calibrateWhite(call.now)
                                    : call.instrument.calibrateBlack(call.now);
    call.answer.error = outcome.error;
    call.answer.ready = outcome.ready;
}

void readWhiteBoard(const Call& call) {
    const auto& board = call.instrument.whiteBoard();
    call.answer.reply.assign(board.begin(), board.end());
}

void writeWhiteBoard(const Call& call) {
    Instrument::WhiteBoard board{};
    std::copy(call.payload.begin(), call.payload.end(), board.begin());
    call.instrument.setWhiteBoard(board);
}

void countStandards(const Call& call) {
    put32(call.answer.reply, call.instrument.count(Kind::standard));
}

void countSamples(const Call& call) {
    put32(call.answer.reply, call.instrument.count(Kind::trial));
}

void readRecords(const Call& call, Kind kind) {
    const std::span<const Record> records = call.instrument.records(kind);
    const std::size_t first = std::min<std::size_t>(get32(call.payload, 0), records.size());
    const std::size_t count = std::min<std::size_t>(get32(call.payload, 4), records.size() - first);
    Bytes& reply = call.answer.reply;
    reply.reserve(count * kRecordSize);
    for (const Record& record : records.subspan(first, count)) {
        reply.insert(reply.end(), record.begin(), record.end());
    }
}

void readStandards(const Call& call) {
    readRecords(call, Kind::standard);
}
// The samples are a single list; the index of the standard, which comes last, is ignored.
void readSamples(const Call& call) {
    readRecords(call, Kind::trial);
}

void writeStandards(const Call& call) {
    call.answer.error = call.instrument.append(call.payload);
}

void eraseStandards(const Call& call) {
    const std::uint32_t word = get32(call.payload, 0);
    if (word == kEraseAll) {
        call.instrument.eraseAll();
    } else if ((word & kEraseBit) != 0) {
        call.answer.error = call.instrument.erase(Kind::standard, word & ~kEraseBit);
    } else {
        call.answer.error = Error::badParameter;
    }
}

void eraseSample(const Call& call) {
    call.answer.error = call.instrument.erase(Kind::trial, get32(call.payload, 4));
}

void readParameter(const Call& call) {
    call.answer.reply.push_back(call.instrument.parameter(call.payload[0]));
}

void writeParameter(const Call& call) {
    call.instrument.setParameter(call.payload[0], call.payload[1]);
}

struct Command {
    std::uint8_t operation;
    bool isRequest;
    std::uint16_t payloadSize;
    const char* name;
    void (*run)(const Call&);
};

constexpr bool kRequest = true;
constexpr bool kPlain = false;

constexpr Command kCommands[] = {
    {0x21, kRequest, 0, "device information", readDeviceInfo},
    {0x22, kRequest, 0, "status", readStatus},
    {kMeasureStandard, kRequest, 0, "measure standard", measureStandard},
    {kMeasureTrial, kRequest, 0, "measure trial", measureTrial},
    {0x25, kPlain, 1, "calibrate", calibrate},
    {0x26, kRequest, 0, "read white board", readWhiteBoard},
    {0x27, kPlain, 280, "write white board", writeWhiteBoard},
    {0x2A, kRequest, 0, "count standards", countStandards},
    {0x2B, kRequest, 0, "count samples", countSamples},
    {0x2C, kRequest, 8, "read standards", readStandards},
    {0x2D, kRequest, 12, "read samples", readSamples},
    {0x2E, kPlain, kAnySize, "write standards", writeStandards},
    {0x35, kPlain, 4, "erase standards", eraseStandards},
    {0x36, kPlain, 8, "erase sample", eraseSample},
    {0xB3, kRequest, 1, "read parameter", readParameter},
    {0xB4, kPlain, 2, "write parameter", writeParameter},
};

const Command* find(std::uint8_t operation) {
    const auto found = std::ranges::find(kCommands, operation, &Command::operation);
    return found == std::end(kCommands) ? nullptr : found;
}

}  // namespace

Answer execute(Instrument& instrument, std::uint8_t operation, ByteView payload, TimePoint now) {
    Answer answer;
    answer.ready = now;
    const Command* command = find(operation);
    if (command == nullptr) {
        answer.error = Error::unknownCommand;
        return answer;
    }
    answer.isRequest = command->isRequest;
    if (command->payloadSize != kAnySize && command->payloadSize != payload.size()) {
        answer.error = Error::badParameter;
        return answer;
    }
    command->run({instrument, payload, now, answer});
    return answer;
}

const char* operationName(std::uint8_t operation) {
    const Command* command = find(operation);
    return command == nullptr ? "unknown" : command->name;
}

}  // namespace vi::wired

#include "operations/Operations.h"

#include <atomic>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "endtoend/NumberedRecords.h"
#include "operations/Contents.h"
#include "operations/Guarded.h"
#include "peer/WaitUntil.h"

namespace cqtest {
namespace {

using namespace std::chrono_literals;

// Stored records that the operations read, write and delete if nothing else is chosen.
constexpr std::uint32_t kFirst = 1;
constexpr std::uint32_t kCount = 3;
constexpr std::uint32_t kDeleted = 2;
constexpr std::uint8_t kParameter = 7;
constexpr std::uint8_t kParameterValue = 42;
/// How many records are read at a time by chance, at most.
constexpr std::size_t kPortion = 8;

/// When a wireless instrument fails in the middle, what has come so far is in the record.
enum class OnFailure { untouched, mayBePartial };

/// Calls with guarded room for the records, and checks what was written there.
template <class T, class Call, class CheckContents>
std::string callInto(Session& session, std::size_t count, const Call& call,
                     const CheckContents& isRight, OnFailure onFailure = OnFailure::untouched) {
    Guarded<T> room(count);
    const std::uint32_t code = call(room.get());
    session.check(room.areGuardsIntact(), "bytes were written outside the record");
    if (code == CQ_NO_ERROR) {
        session.check(isRight(room.get()), "the call succeeded with wrong data");
    } else if (session.isWired() || onFailure == OnFailure::untouched) {
        session.check(room.isUntouched(), "the call failed and wrote to the record");
    }
    return std::to_string(code);
}

std::string getDeviceInfo(Session& s) {
    return callInto<CqDeviceInfo>(
        s, 1, [&](auto* info) { return cqGetDeviceInfo(s.handle, info); },
        [&](auto* info) { return isSame(*info, expectedInfo(s)); }, OnFailure::mayBePartial);
}

std::string getInstrumentStatus(Session& s) {
    constexpr auto background = Guarded<CqInstrumentStatus>::kPattern;
    return callInto<CqInstrumentStatus>(
        s, 1, [&](auto* status) { return cqGetInstrumentStatus(s.handle, status); },
        [&](auto* status) { return isSame(*status, expectedStatus(s, background)); },
        OnFailure::mayBePartial);
}

template <class Call>
std::string callForCount(Session& s, std::uint32_t expected, const Call& call) {
    return callInto<std::uint32_t>(s, 1, call, [&](auto* count) { return *count == expected; });
}

template <std::uint32_t (*Count)(CqHandle, std::uint32_t*), RecordKind kind>
std::string countStored(Session& s) {
    const auto count = static_cast<std::uint32_t>(s.model.stored(kind).size());
    return callForCount(s, count, [&](auto* result) { return Count(s.handle, result); });
}

/// A wired instrument takes the samples of all standards together, whatever is asked for.
std::uint32_t allSamples(const Session& s) {
    return s.isWired() ? 0 : CQ_ALL_RECORDS;
}

std::string getSampleCount(Session& s) {
    const auto count = static_cast<std::uint32_t>(s.model.samples.size());
    return callForCount(
        s, count, [&](auto* result) { return cqGetSampleCount(s.handle, allSamples(s), result); });
}

template <std::uint32_t (*Measure)(CqHandle, CqMeasurementRecord*), RecordKind kind>
std::string measure(Session& s) {
    const Held expected{true, ++s.model.lastNumber(kind)};
    return callInto<CqMeasurementRecord>(
        s, 1, [&](auto* record) { return Measure(s.handle, record); },
        [&](auto* record) { return expected.is(*record, kind); });
}

/// \param upload called with room, the first index, and what the caller gives as the count.
template <class Upload>
std::string uploadStored(Session& s, RecordKind kind, std::uint32_t first, std::uint32_t count,
                         const Upload& upload) {
    const std::vector<Held>& stored = s.model.stored(kind);
    return callInto<CqMeasurementRecord>(s, count, upload, [&](auto* records) {
        return std::equal(
            records, records + count, stored.begin() + first,
            [&](const auto& record, const Held& held) { return held.is(record, kind); });
    });
}

struct Portion {
    std::uint32_t first;
    std::uint32_t count;
};

Portion pickPortion(Session& s, RecordKind kind, std::uint32_t usualFirst) {
    const std::size_t size = s.model.stored(kind).size();
    const std::uint32_t first = s.pick(size + 1, usualFirst);
    return {first, s.pick(std::min(kPortion, size - first) + 1, kCount)};
}

std::string uploadStandards(Session& s) {
    const auto [first, count] = pickPortion(s, RecordKind::standard, kFirst);
    return uploadStored(s, RecordKind::standard, first, count, [&](auto* records) {
        return cqUploadStandards(s.handle, records, first, count);
    });
}

std::string uploadAllStandards(Session& s) {
    const auto size = static_cast<std::uint32_t>(s.model.standards.size());
    const std::uint32_t first = s.pick(size, kFirst);
    return uploadStored(s, RecordKind::standard, first, size - first, [&](auto* records) {
        return cqUploadStandards(s.handle, records, first, CQ_ALL_RECORDS);
    });
}

std::string uploadSamples(Session& s) {
    const auto [first, count] = pickPortion(s, RecordKind::trial, 0);
    return uploadStored(s, RecordKind::trial, first, count, [&](auto* records) {
        return cqUploadSamples(s.handle, records, allSamples(s), first, count);
    });
}

std::string downloadStandards(Session& s) {
    const std::size_t free = s.model.capacity - s.model.standards.size();
    const std::uint32_t count = s.pick(std::min<std::size_t>(free, kPortion) + 1, kCount);
    std::vector<CqMeasurementRecord> records;
    for (std::uint32_t i = 0; i < count; ++i) {
        records.push_back(numberedRecord(s.model.written));
        s.model.standards.push_back({false, s.model.written++});
    }
    return std::to_string(cqDownloadStandards(s.handle, records.data(), count));
}

std::string getWhiteBoard(Session& s) {
    constexpr auto background = Guarded<CqWhiteBoardParameter>::kPattern;
    return callInto<CqWhiteBoardParameter>(
        s, 1, [&](auto* board) { return cqGetWhiteBoardParameter(s.handle, board); },
        [&](auto* board) { return isSame(*board, expectedWhiteBoard(s, background)); },
        OnFailure::mayBePartial);
}

// A wireless instrument gets the text alone.
std::string setWhiteBoard(Session& s) {
    CqWhiteBoardParameter board = s.model.whiteBoard;
    const std::string text = "WT-" + std::to_string(s.pick(10'000, 4711));
    std::memset(board.text, 0, sizeof(board.text));
    std::copy(text.begin(), text.end(), board.text);
    if (s.isWired()) {
        board.firstBlock[s.pick(sizeof(board.firstBlock), 5)] ^= 0x55;
        board.secondBlock[s.pick(sizeof(board.secondBlock), 123)] ^= 0x55;
    }
    s.model.whiteBoard = board;
    return std::to_string(cqSetWhiteBoardParameter(s.handle, &board));
}

std::string getParameter(Session& s) {
    const auto number = static_cast<std::uint8_t>(s.pick(256, kParameter));
    return callForCount(s, s.model.parameters[number], [&](auto* value) {
        return cqGetMeasurementParameter(s.handle, number, value);
    });
}

std::string setParameter(Session& s) {
    const auto number = static_cast<std::uint8_t>(s.pick(256, kParameter));
    const auto value = static_cast<std::uint8_t>(s.pick(256, kParameterValue));
    s.model.parameters[number] = value;
    return std::to_string(cqSetMeasurementParameter(s.handle, number, value));
}

template <std::uint32_t (*Function)(CqHandle)>
std::string callAlone(Session& s) {
    return std::to_string(Function(s.handle));
}

std::string deleteStandard(Session& s) {
    const std::uint32_t index = s.pick(s.model.standards.size(), kDeleted);
    s.model.standards.erase(s.model.standards.begin() + index);
    return std::to_string(cqDeleteStandard(s.handle, index));
}

std::string deleteSample(Session& s) {
    const std::uint32_t index = s.pick(s.model.samples.size(), 1);
    s.model.samples.erase(s.model.samples.begin() + index);
    return std::to_string(cqDeleteSample(s.handle, allSamples(s), index));
}

std::string deleteAll(Session& s) {
    s.model.standards.clear();
    s.model.samples.clear();
    return std::to_string(cqDeleteAllRecords(s.handle));
}

/// The button is pressed, and the callback is called once with the measurement, or not at all.
std::string press(Session& s) {
    const RecordKind kind = s.pick(2, 0) == 0 ? RecordKind::standard : RecordKind::trial;
    struct Calls {
        RecordKind kind;
        Held expected;
        std::atomic<int> count{0};
        std::atomic<bool> areRight{true};
    } calls{kind, {true, ++s.model.lastNumber(kind)}};
    const auto callback = [](bool isStandard, const CqMeasurementRecord* record, void* user) {
        auto* const seen = static_cast<Calls*>(user);
        const bool isRight = isStandard == (seen->kind == RecordKind::standard) &&
                             seen->expected.is(*record, seen->kind);
        seen->areRight = seen->areRight && isRight;
        ++seen->count;
    };
    if (s.model.stored(kind).size() < s.model.capacity) {
        s.model.stored(kind).push_back(calls.expected);
    }
    s.check(cqSetMeasurementResultReceivedCallback(s.handle, callback, &calls) == CQ_NO_ERROR,
            "the callback was not taken");
    kind == RecordKind::standard ? s.instrument->pressStandard() : s.instrument->pressTrial();
    waitUntil([&] { return calls.count > 0; }, 2500ms);
    std::this_thread::sleep_for(s.afterPress);
    cqSetMeasurementResultReceivedCallback(s.handle, nullptr, nullptr);
    s.check(calls.areRight, "the callback was given a wrong record");
    return calls.count == 0 ? "none" : calls.count == 1 ? "called" : "called again";
}

std::string close(Session& s) {
    cqClose(s.handle);
    s.check(!cqIsValidHandle(s.handle), "the closed handle is still valid");
    s.handle = nullptr;
    return "closed";
}

std::string scan(Session& s) {
    Guarded<CqBleSlave*> list;
    const std::uint32_t code = cqScanBleSlaves(s.instrument->portName(), list.get());
    s.check(list.areGuardsIntact(), "bytes were written outside the list's pointer");
    const bool isThere = *list.get() != nullptr;
    for (const CqBleSlave* slave = *list.get(); isThere && slave->name[0] != '\0'; ++slave) {
        const std::string name = slave->name;
        const std::string address = slave->address;
        s.check((name == "Virtual 31 A" && address == "C4BE84A1B2C3" && slave->rssi == -67) ||
                    (name == "Virtual 31 B" && address == "C4BE84A1B2C4" && slave->rssi == -52) ||
                    (name == "Virtual 31 C" && address == "C4BE84A1B2C5" && slave->rssi == -80),
                "the scan lists what is not within reach: " + name);
    }
    cqFree(*list.get());
    return std::to_string(code) + (isThere ? " list" : "");
}

/// Opens; if that waits without an end, as it may, ends the wait by unplugging.
std::string open(Session& s) {
    std::atomic<bool> hasReturned{false};
    std::thread opener([&] {
        s.open();
        hasReturned = true;
    });
    const bool isWaiting = !waitUntil([&] { return hasReturned.load(); }, s.isWired() ? 2s : 10s);
    if (isWaiting) {
        s.instrument->unplug();
    }
    opener.join();
    s.check(!isWaiting || s.handle == nullptr, "opening an unplugged instrument gave a handle");
    return isWaiting ? "waits" : s.handle != nullptr ? "handle" : "null";
}

constexpr std::size_t kRecordSize = sizeof(CqMeasurementRecord);
constexpr std::size_t kWordSize = sizeof(std::uint32_t);

const WiredStep kTotal{0, kWordSize, 5000ms};
const WiredStep kInfo{0, sizeof(CqDeviceInfo), 5000ms};
const WiredStep kTile{1, {}, 15000ms};
const WiredStep kMeasured{0, kRecordSize, 15000ms};
const WirelessStep kWord{Check::word, 10000ms};
const WirelessStep kRecord{Check::record, 8000ms};
const WirelessStep kText{Check::text, 2000ms};
const WirelessStep kItem{Check::item, 2000ms};
const WirelessStep kNumber{Check::number, 2000ms};
const WirelessStep kRead{Check::read, 1000ms};
const WirelessStep kWrite{Check::done, 2000ms};
const WirelessStep kDelete{Check::done, 10000ms};

}  // namespace

const std::vector<Operation>& operations() {
    static const std::vector<Operation> table{
        {"open", {}, {}, open, "handle"},
        {"scan", {}, {}, scan, "0 list"},
        {"info", {kInfo}, {kText, kText, kText, kText, kText, kText}, getDeviceInfo},
        {"status",
         {{0, sizeof(CqInstrumentStatus), 5000ms}},
         {kItem, kItem, kItem, kItem, kItem, kItem, kItem, kItem, kNumber},
         getInstrumentStatus},
        {"calibrateWhite", {kTile}, {kWord}, callAlone<cqCalibrateWhite>},
        {"calibrateBlack", {kTile}, {kWord}, callAlone<cqCalibrateBlack>},
        {"measureStandard",
         {kMeasured},
         {kRecord},
         measure<cqMeasureStandard, RecordKind::standard>},
        {"measureTrial", {kMeasured}, {kRecord}, measure<cqMeasureTrial, RecordKind::trial>},
        {"press", {{{}, kRecordSize, 0ms}}, {}, press, "called"},
        {"totalStandards",
         {kTotal},
         {kNumber},
         countStored<cqGetTotalStandards, RecordKind::standard>},
        {"totalSamples", {kTotal}, {kNumber}, countStored<cqGetTotalSamples, RecordKind::trial>},
        {"sampleCount", {kTotal}, {kNumber}, getSampleCount},
        {"uploadStandards",
         {{2 * kWordSize, kCount * kRecordSize, 5150ms}},
         {kRead, kRead, kRead},
         uploadStandards},
        {"uploadAll",
         {kTotal, {2 * kWordSize, 4 * kRecordSize, 5200ms}},
         {kNumber, kRead, kRead, kRead, kRead},
         uploadAllStandards},
        {"uploadSamples",
         {{3 * kWordSize, kCount * kRecordSize, 5000ms}},
         {kRead, kRead, kRead},
         uploadSamples},
        {"download",
         {kInfo, kTotal, {kCount * kRecordSize, {}, 5000ms}},
         {kWrite, kWrite, kWrite},
         downloadStandards},
        {"deleteStandard", {{kWordSize, {}, 5000ms}}, {kDelete}, deleteStandard},
        {"deleteAll", {{kWordSize, {}, 30000ms}}, {kDelete}, deleteAll},
        {"deleteSample", {{2 * kWordSize, {}, 5000ms}}, {kDelete}, deleteSample},
        {"getWhiteBoard",
         {{0, sizeof(CqWhiteBoardParameter), 5000ms}},
         {kText, {Check::block, 2000ms}},
         getWhiteBoard},
        {"setWhiteBoard",
         {{sizeof(CqWhiteBoardParameter), {}, 5000ms}},
         {kWrite, {Check::written, 2000ms}},
         setWhiteBoard},
        {"getParameter", {{1, 1, 5000ms}}, {}, getParameter},
        {"setParameter", {{2, {}, 5000ms}}, {}, setParameter},
        {"close", {}, {}, close, "closed"},
    };
    return table;
}

const Operation& operationNamed(const std::string& name) {
    const auto found = std::ranges::find(operations(), name, &Operation::name);
    if (found == operations().end()) {
        throw std::invalid_argument("there is no operation " + name);
    }
    return *found;
}

}  // namespace cqtest

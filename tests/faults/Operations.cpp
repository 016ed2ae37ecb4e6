// The operations of the exports that talk to an instrument: what each sends and receives, and what
// it gives when nothing goes wrong.

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <map>
#include <stdexcept>
#include <thread>

#include "endtoend/NumberedRecords.h"
#include "faults/Connect.h"
#include "faults/Contents.h"
#include "faults/Guarded.h"
#include "faults/Matrix.h"
#include "peer/WaitUntil.h"

namespace cqtest::faults {
namespace {

using namespace std::chrono_literals;

// Stored records that the operations read, write and delete.
constexpr std::uint32_t kFirst = 1;
constexpr std::uint32_t kCount = 3;
constexpr std::uint32_t kDeleted = 2;
constexpr std::uint8_t kParameter = 7;
constexpr std::uint8_t kParameterValue = 42;

/// When a wireless instrument fails in the middle, what has come so far is in the record.
enum class OnFailure { untouched, mayBePartial };

/// Calls with guarded room for the records, and checks what was written there.
template <class T, class Call, class CheckContents>
std::string callInto(const Session& session, std::size_t count, const Call& call,
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

template <std::uint32_t (*Count)(CqHandle, std::uint32_t*), std::uint32_t Stored::*expected>
std::string countStored(Session& s) {
    return callForCount(s, Stored().*expected, [&](auto* count) { return Count(s.handle, count); });
}

std::string getSampleCount(Session& s) {
    const std::uint32_t each = Stored().samples / Stored().standards;
    return callForCount(s, s.isWired() ? Stored().samples : each,
                        [&](auto* count) { return cqGetSampleCount(s.handle, 0, count); });
}

/// \param step from the running number of one to that of the next.
auto areRecords(RecordKind kind, std::uint32_t first, std::uint32_t count, std::uint32_t step) {
    return [=](const CqMeasurementRecord* records) {
        bool areRight = true;
        for (std::uint32_t i = 0; i < count; ++i) {
            areRight = areRight && isMeasuredRecord(records[i], kind, first + i * step);
        }
        return areRight;
    };
}

template <std::uint32_t (*Measure)(CqHandle, CqMeasurementRecord*), RecordKind kind,
          std::uint32_t Stored::*numbered>
std::string measure(Session& s) {
    return callInto<CqMeasurementRecord>(
        s, 1, [&](auto* record) { return Measure(s.handle, record); },
        areRecords(kind, Stored().*numbered + 1, 1, 1));
}

std::string uploadStandards(Session& s) {
    return callInto<CqMeasurementRecord>(
        s, kCount,
        [&](auto* records) { return cqUploadStandards(s.handle, records, kFirst, kCount); },
        areRecords(RecordKind::standard, kFirst + 1, kCount, 1));
}

std::string uploadAllStandards(Session& s) {
    const std::uint32_t count = Stored().standards - kFirst;
    return callInto<CqMeasurementRecord>(
        s, count,
        [&](auto* records) { return cqUploadStandards(s.handle, records, kFirst, CQ_ALL_RECORDS); },
        areRecords(RecordKind::standard, kFirst + 1, count, 1));
}

// A wired instrument gives the samples of all standards, a wireless one those of the standard asked
// for, which is each fifth.
std::string uploadSamples(Session& s) {
    return callInto<CqMeasurementRecord>(
        s, kCount, [&](auto* records) { return cqUploadSamples(s.handle, records, 0, 0, kCount); },
        areRecords(RecordKind::trial, 1, kCount, s.isWired() ? 1 : Stored().standards));
}

std::string downloadStandards(Session& s) {
    return std::to_string(cqDownloadStandards(s.handle, numberedRecords(kCount).data(), kCount));
}

void readBackStandards(Session& s) {
    std::array<CqMeasurementRecord, kCount> records{};
    bool isThere = cqUploadStandards(s.handle, records.data(), Stored().standards, kCount) == 0;
    for (std::uint32_t i = 0; i < kCount; ++i) {
        isThere = isThere && isSame(records[i], numberedRecord(i));
    }
    s.check(isThere, "the written standards are not there");
}

std::string getWhiteBoard(Session& s) {
    constexpr auto background = Guarded<CqWhiteBoardParameter>::kPattern;
    return callInto<CqWhiteBoardParameter>(
        s, 1, [&](auto* board) { return cqGetWhiteBoardParameter(s.handle, board); },
        [&](auto* board) { return isSame(*board, expectedWhiteBoard(s, background)); },
        OnFailure::mayBePartial);
}

std::string setWhiteBoard(Session& s) {
    const CqWhiteBoardParameter board = writtenWhiteBoard();
    return std::to_string(cqSetWhiteBoardParameter(s.handle, &board));
}

// A wireless instrument gets the text alone.
void readBackWhiteBoard(Session& s) {
    CqWhiteBoardParameter board{};
    const CqWhiteBoardParameter written = writtenWhiteBoard();
    const bool isRead = cqGetWhiteBoardParameter(s.handle, &board) == CQ_NO_ERROR;
    s.check(isRead && std::strcmp(board.text, written.text) == 0 &&
                (!s.isWired() || isSame(board, written)),
            "the written white-board parameter is not there");
}

std::string getParameter(Session& s) {
    return callForCount(
        s, 0, [&](auto* value) { return cqGetMeasurementParameter(s.handle, kParameter, value); });
}

std::string setParameter(Session& s) {
    return std::to_string(cqSetMeasurementParameter(s.handle, kParameter, kParameterValue));
}

void readBackParameter(Session& s) {
    std::uint32_t value = 0;
    const bool isRead = cqGetMeasurementParameter(s.handle, kParameter, &value) == CQ_NO_ERROR;
    s.check(isRead && value == kParameterValue, "the written parameter is not there");
}

template <std::uint32_t (*Function)(CqHandle)>
std::string callAlone(Session& s) {
    return std::to_string(Function(s.handle));
}

std::string deleteStandard(Session& s) {
    return std::to_string(cqDeleteStandard(s.handle, kDeleted));
}

std::string deleteSample(Session& s) {
    return std::to_string(cqDeleteSample(s.handle, 0, 1));
}

/// The button is pressed, and the callback is called once with the measurement, or not at all.
std::string press(Session& s) {
    struct Calls {
        std::atomic<int> count{0};
        std::atomic<bool> areRight{true};
    } calls;
    const auto callback = [](bool isStandard, const CqMeasurementRecord* record, void* user) {
        auto* const seen = static_cast<Calls*>(user);
        const bool isRight =
            isStandard && isMeasuredRecord(*record, RecordKind::standard, Stored().standards + 1);
        seen->areRight = seen->areRight && isRight;
        ++seen->count;
    };
    s.check(cqSetMeasurementResultReceivedCallback(s.handle, callback, &calls) == CQ_NO_ERROR,
            "the callback was not taken");
    s.instrument->pressStandard();
    waitUntil([&] { return calls.count > 0; }, 2500ms);
    std::this_thread::sleep_for(300ms);  // for a second call
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
        s.handle = connect(s.kind, s.instrument->portName());
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
        {"open", {}, {}, open},
        {"scan", {}, {}, scan},
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
         measure<cqMeasureStandard, RecordKind::standard, &Stored::standards>},
        {"measureTrial",
         {kMeasured},
         {kRecord},
         measure<cqMeasureTrial, RecordKind::trial, &Stored::samples>},
        {"press", {{{}, kRecordSize, 0ms}}, {}, press, {6, 15}},
        {"totalStandards",
         {kTotal},
         {kNumber},
         countStored<cqGetTotalStandards, &Stored::standards>},
        {"totalSamples", {kTotal}, {kNumber}, countStored<cqGetTotalSamples, &Stored::samples>},
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
         downloadStandards,
         {8, 15},
         readBackStandards},
        {"deleteStandard", {{kWordSize, {}, 5000ms}}, {kDelete}, deleteStandard, {4, 15}},
        {"deleteAll", {{kWordSize, {}, 30000ms}}, {kDelete}, callAlone<cqDeleteAllRecords>, {0, 0}},
        {"deleteSample", {{2 * kWordSize, {}, 5000ms}}, {kDelete}, deleteSample, {5, 14}},
        {"getWhiteBoard",
         {{0, sizeof(CqWhiteBoardParameter), 5000ms}},
         {kText, {Check::block, 2000ms}},
         getWhiteBoard},
        {"setWhiteBoard",
         {{sizeof(CqWhiteBoardParameter), {}, 5000ms}},
         {kWrite, {Check::written, 2000ms}},
         setWhiteBoard,
         {},
         readBackWhiteBoard},
        {"getParameter", {{1, 1, 5000ms}}, {}, getParameter},
        {"setParameter", {{2, {}, 5000ms}}, {}, setParameter, {}, readBackParameter},
        {"close", {}, {}, close},
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

std::vector<Cell> faultlessCells(Kind kind) {
    const std::map<std::string, std::string> words{
        {"open", "handle"}, {"scan", "0 list"}, {"press", "called"}, {"close", "closed"}};
    std::vector<Cell> cells;
    for (const Operation& operation : operations()) {
        if (!operation.isFor(kind)) {
            continue;
        }
        const auto word = words.find(operation.name);
        Cell cell{kind, "none", operation.name, {}};
        cell.expected.outcomes = {word == words.end() ? "0" : word->second};
        cell.expected.atMost = 5000ms;
        cell.expected.effect = Effect::done;
        const bool hasHandle = operation.name != "close" && operation.name != "scan";
        cell.expected.recovery = hasHandle ? Recovery::handle : Recovery::reopen;
        cells.push_back(std::move(cell));
    }
    return cells;
}

}  // namespace cqtest::faults

// What each fault of the adapter, the link or a wireless instrument does to each operation.

#include <algorithm>

#include "faults/Rules.h"

namespace cqtest::faults {
namespace {

using namespace std::chrono_literals;
using enum Recovery;

constexpr milliseconds kLateBy = 3000ms;   // of ble-late
constexpr milliseconds kTornFor = 1200ms;  // of ble-pause
/// The line must have been silent for a second, with a reserve, before the next packet is read.
constexpr milliseconds kQuiet = 1300ms;
/// A link ends 100 ms after its last reply, which is that to the hello.
constexpr milliseconds kDropped = 400ms;

struct WirelessRule {
    const char* fault;
    Place place;  // a request of the operation or its reply
    void (*expect)(Expectation& expected, const WirelessStep& step);
};

void expectCode(Expectation& expected, const char* code) {
    expected.outcomes = {code};
    expected.atMost = kSoon;
    expected.effect = *code == '0' ? Effect::done : Effect::unknown;
}

void expectTimeout(Expectation& expected, const WirelessStep& step) {
    expected.outcomes = {"7"};
    expected.atLeast = step.timeout - 10ms;
    expected.atMost = step.timeout + kLateness;
}

void works(Expectation& expected, const WirelessStep& /*step*/) {
    expectCode(expected, "0");
}

/// \tparam next what the handle then answers.
template <Recovery recovery, char next>
void lost(Expectation& expected, const WirelessStep& step) {
    expectTimeout(expected, step);
    expected.recovery = recovery;
    expected.next = next;
}

void unlinkedBefore(Expectation& expected, const WirelessStep& step) {
    lost<reopen, '7'>(expected, step);
    expected.settle = kDropped;
}

/// Two packets as one are no packet.
void joined(Expectation& expected, const WirelessStep& step) {
    expectTimeout(expected, step);
    expected.pause = kQuiet;
}

/// The first half is dropped, and the second is no packet; but the second half of a number, which
/// is below 65536, looks like a packet without a payload.
void torn(Expectation& expected, const WirelessStep& step) {
    if (step.check == Check::number) {
        expectCode(expected, "10");
        expected.atLeast = kTornFor - 10ms;
    } else {
        expectTimeout(expected, step);
    }
    expected.pause = kTornFor + kQuiet;
}

void late(Expectation& expected, const WirelessStep& step) {
    expected.settle = 2 * kLateBy;  // for the replies to the hello
    expected.recovery = replace;    // it counts records too late
    expected.next = "7";
    if (step.timeout > kLateBy) {
        expectCode(expected, "0");
        expected.atLeast = kLateBy - 10ms;
        expected.atMost = kLateBy + kLateness;
    } else {
        expectTimeout(expected, step);
        expected.pause = kLateBy;
    }
}

struct Judged {
    Check check;
    const char* fail;
    const char* inval;
    const char* tooShort;
};

constexpr Judged kJudged[] = {
    {Check::word, "8", "8", "8"},     {Check::record, "8", "8", "8"},
    {Check::number, "8", "16", "10"}, {Check::read, "8", "16", "10"},
    {Check::done, "8", "16", "0"},    {Check::item, "8", "16", "10"},
    {Check::text, "0", "0", "0"},     {Check::block, "8", "16", "10"},
    {Check::written, "8", "16", "8"},
};

const Judged& judged(const WirelessStep& step) {
    return *std::ranges::find(kJudged, step.check, &Judged::check);
}

void fail(Expectation& expected, const WirelessStep& step) {
    expectCode(expected, judged(step).fail);
    expected.textFault = step.check == Check::text ? "FAIL" : "";
}

void inval(Expectation& expected, const WirelessStep& step) {
    expectCode(expected, judged(step).inval);
    expected.textFault = step.check == Check::text ? "INVAL" : "";
}

void tooShort(Expectation& expected, const WirelessStep& step) {
    expectCode(expected, judged(step).tooShort);
    expected.textFault = step.check == Check::text ? "short" : "";
}

constexpr WirelessRule kWirelessRules[] = {{"ble-split", Place::all, works},
                                           {"ble-bytes", Place::all, works},
                                           {"ble-fail", Place::first, fail},
                                           {"ble-fail", Place::last, fail},
                                           {"ble-inval", Place::first, inval},
                                           {"ble-inval", Place::last, inval},
                                           {"ble-length", Place::first, tooShort},
                                           {"ble-length", Place::last, tooShort},
                                           {"ble-joined", Place::first, joined},
                                           {"ble-joined", Place::last, joined},
                                           {"ble-pause", Place::first, torn},
                                           {"ble-pause", Place::last, torn},
                                           {"ble-late", Place::all, late},
                                           {"ble-silent", Place::first, lost<replace, '7'>},
                                           {"ble-silent", Place::last, lost<replace, '7'>},
                                           {"link-drop", Place::first, unlinkedBefore},
                                           {"link-drop", Place::last, lost<reopen, '7'>},
                                           {"unplug", Place::first, lost<reopen, '3'>},
                                           {"unplug", Place::last, lost<reopen, '3'>}};

constexpr milliseconds kOpened = 5500ms;  // documented: 2 to 5 s, whatever the instrument does
/// Documented: about half a second.
constexpr milliseconds kClosed = 1200ms;
/// The module is asked twice for a second each.
constexpr milliseconds kClosedUnanswered = 3000ms;

/// The adapter's answers come byte by byte, too. The time for them shrinks with each byte, so that
/// opening succeeds by chance.
constexpr const char* kByteByByte = "one-byte --at-delay 0";

const Special kWirelessSpecials[] = {
    {"ble-split", "open", "ble-split", {"handle"}, 1200ms, kOpened},
    {"ble-bytes", "open", "ble-bytes", {"handle"}, 1200ms, kOpened},
    {"one-byte", "open", kByteByByte, {"handle", "null"}, 0ms, kOpened, replace},
    {"ble-fail, first", "open", "ble-fail:1", {"handle"}, 1200ms, kOpened},
    {"ble-inval, first", "open", "ble-inval:1", {"handle"}, 1200ms, kOpened},
    {"ble-length, first", "open", "ble-length:1", {"handle"}, 1200ms, kOpened},
    {"ble-joined, first", "open", "ble-joined:1", {"handle"}, 3200ms, kOpened},
    {"ble-pause, first", "open", "ble-pause:1", {"handle"}, 3200ms, kOpened, handle, "", kQuiet},
    {"ble-late", "open", "ble-late", {"handle"}, 3700ms, kOpened, replace},
    {"ble-silent, first", "open", "ble-silent:0", {"handle"}, 3700ms, kOpened, replace, "7"},
    {"link-drop, first", "open", "link-drop:1", {"handle"}, 1200ms, kOpened, reopen, "7", kDropped},
    {"unplug, first", "open", "unplug:1", {"handle"}, 1200ms, kOpened, reopen, "3"},
    {"no-link", "open", "no-link", {"null"}, 1000ms, kOpened, replace},
    {"at-split", "open", "at-split", {"handle"}, 1200ms, kOpened},
    {"at-blank", "open", "at-blank", {"null"}, 0ms, kOpened, replace},
    {"at-late", "open", "at-late", {"null"}, 2000ms, kOpened, replace},
    {"at-silent, first", "open", "at-silent:1", {"null"}, 3990ms, kOpened, replace},
    {"at-silent, last", "open", "at-silent:8", {"null"}, 990ms, kOpened, replace},
    // Leaving a link that was left over, and the text that nobody needs, may fail.
    {"at-error, command 1", "open", "at-error:1", {"handle"}, 1200ms, kOpened},
    {"at-error, command 2", "open", "at-error:2", {"handle"}, 1200ms, kOpened},
    {"at-error, command 3", "open", "at-error:3", {"null"}, 0ms, kSoon},
    {"at-error, command 4", "open", "at-error:4", {"null"}, 0ms, kSoon},
    {"at-error, command 5", "open", "at-error:5", {"null"}, 0ms, kSoon},
    {"at-error, command 6", "open", "at-error:6", {"null"}, 0ms, kSoon},
    {"at-error, command 7", "open", "at-error:7", {"handle"}, 1200ms, kOpened},
    {"at-error, command 8", "open", "at-error:8", {"null"}, 0ms, kSoon},

    // The time for a scan shrinks with each piece that comes, and may leave some or all out.
    {"one-byte", "scan", kByteByByte, {"0", "0 list", "9"}, 0ms, kOpened, replace},
    {"at-split", "scan", "at-split", {"0", "0 list"}, 0ms, kOpened, replace},
    {"at-blank", "scan", "at-blank", {"9"}, 0ms, kOpened, replace},
    {"at-late", "scan", "at-late", {"9"}, 0ms, kOpened, replace},
    {"at-silent, first", "scan", "at-silent:1", {"9"}, 3990ms, kOpened, replace},
    {"at-silent, last", "scan", "at-silent:7", {"0"}, 1990ms, kOpened, replace},
    {"at-error, command 1", "scan", "at-error:1", {"0 list"}, 0ms, kOpened},
    {"at-error, command 2", "scan", "at-error:2", {"0 list"}, 0ms, kOpened},
    {"at-error, command 3", "scan", "at-error:3", {"9"}, 0ms, kOpened},
    {"at-error, command 4", "scan", "at-error:4", {"9"}, 0ms, kOpened},
    {"at-error, command 5", "scan", "at-error:5", {"9"}, 0ms, kOpened},
    {"at-error, command 6", "scan", "at-error:6", {"9"}, 0ms, kOpened},
    {"at-error, command 7", "scan", "at-error:7", {"0"}, 0ms, kOpened},
    {"at-error, command 8", "scan", "at-error:8", {"0 list"}, 0ms, kOpened},

    {"ble-split", "press", "ble-split", {"called"}, 0ms, kSoon},
    {"ble-bytes", "press", "ble-bytes", {"called"}, 0ms, kSoon},
    {"ble-pause, first", "press", "ble-pause:2", {"none"}, 0ms, kOpened, handle, "", kQuiet},
    {"ble-silent, first", "press", "ble-silent:1", {"called"}, 0ms, kSoon, replace, "7"},

    {"ble-split", "close", "ble-split", {"closed"}, 0ms, kClosed},
    {"ble-bytes", "close", "ble-bytes", {"closed"}, 0ms, kClosed},
    {"ble-fail, first", "close", "ble-fail:2", {"closed"}, 0ms, kClosed},
    {"ble-inval, first", "close", "ble-inval:2", {"closed"}, 0ms, kClosed},
    {"ble-length, first", "close", "ble-length:2", {"closed"}, 0ms, kClosed},
    {"ble-joined, first", "close", "ble-joined:2", {"closed"}, 0ms, kClosed},
    {"ble-pause, first", "close", "ble-pause:2", {"closed"}, 0ms, kClosed},
    {"ble-late", "close", "ble-late", {"closed"}, 0ms, kClosed, replace},
    {"ble-silent, first", "close", "ble-silent:1", {"closed"}, 0ms, kClosed, replace},
    {"link-drop, first", "close", "link-drop:1", {"closed"}, 0ms, kClosed},
    {"unplug, first", "close", "unplug:2", {"closed"}, 0ms, kClosed},
    {"at-silent, first", "close", "at-silent:9", {"closed"}, 1990ms, kClosedUnanswered, replace},
    {"at-silent, last", "close", "at-silent:10", {"closed"}, 990ms, kClosedUnanswered, replace},
    // The link that is then left over is dropped by the next opening.
    {"at-error, command 1", "close", "at-error:9", {"closed"}, 0ms, kClosedUnanswered},
    {"at-error, command 2", "close", "at-error:10", {"closed"}, 0ms, kClosed},
};

constexpr const char* kOpeningRows[] = {"at-silent, first",
                                        "at-silent, last",
                                        "at-error, command 1",
                                        "at-error, command 2",
                                        "at-error, command 3",
                                        "at-error, command 4",
                                        "at-error, command 5",
                                        "at-error, command 6",
                                        "at-error, command 7",
                                        "at-error, command 8",
                                        "at-split",
                                        "at-blank",
                                        "at-late",
                                        "no-link",
                                        "one-byte"};

/// Packets from the host, to the host, and replies are numbered alike: 1 is the hello's. A link
/// that ends and an instrument that falls silent still answer the packet before.
std::string optionOf(const WirelessRule& rule, std::size_t struckStep) {
    const std::string fault = rule.fault;
    const std::size_t number = 2 + struckStep;
    if (rule.place == Place::all) {
        return "--fault " + fault;
    }
    const bool isAfter = fault == "link-drop" || fault == "ble-silent";
    return "--fault " + fault + ":" + std::to_string(isAfter ? number - 1 : number);
}

void addSpecials(std::vector<Cell>& cells, const std::string& row, const Operation& operation) {
    for (const Special& special : kWirelessSpecials) {
        if (row == special.row && operation.name == special.operation) {
            cells.push_back(toCell(Kind::wireless, special));
        }
    }
}

void addRuled(std::vector<Cell>& cells, const WirelessRule& rule, const Operation& operation) {
    const std::size_t steps = operation.wireless.size();
    if (steps == 0 || (rule.place == Place::last && steps == 1)) {
        return;
    }
    const std::size_t struck = rule.place == Place::last ? steps - 1 : 0;
    Cell cell{Kind::wireless, rowOf(rule.fault, rule.place), operation.name, {}};
    cell.expected.struckStep = struck;
    cell.expected.options = optionOf(rule, struck);
    rule.expect(cell.expected, operation.wireless[struck]);
    cells.push_back(std::move(cell));
}

/// The adapter is pulled out while the instrument is being opened.
void addPulledOpenings(std::vector<Cell>& cells) {
    for (const milliseconds after : {20ms, 80ms, 150ms, 250ms, 350ms, 450ms, 700ms, 1500ms}) {
        const std::string row = "unplug, after " + std::to_string(after.count()) + " ms";
        Cell cell{Kind::wireless, row, "open", {}};
        cell.expected.options = "--at-delay 50";
        cell.expected.outcomes = {"null", "handle"};
        cell.expected.atMost = kOpened;
        cell.expected.recovery = reopen;
        cell.expected.next = "3";
        cell.expected.unplugAfter = after;
        cells.push_back(std::move(cell));
    }
}

}  // namespace

std::vector<Cell> wirelessCells() {
    std::vector<Cell> cells;
    for (const WirelessRule& rule : kWirelessRules) {
        for (const Operation& operation : operations()) {
            addSpecials(cells, rowOf(rule.fault, rule.place), operation);
            addRuled(cells, rule, operation);
        }
    }
    for (const char* row : kOpeningRows) {
        for (const Operation& operation : operations()) {
            addSpecials(cells, row, operation);
        }
    }
    addPulledOpenings(cells);
    return cells;
}

}  // namespace cqtest::faults

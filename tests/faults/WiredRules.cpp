// What each fault of a wired instrument does to each operation.

#include <algorithm>
#include <optional>

#include "faults/Rules.h"

namespace cqtest::faults {
namespace {

using namespace std::chrono_literals;

/// What the instrument counts to find the place of a fault.
enum class Counter { dataToHost, acknowledgements, toHost, dataFromHost, fromHost };

/// Where in the operation the fault strikes. `middle` is the second of several packets of the last
/// step's bulk: there the host's acknowledgement of the first one.
enum class Place { all, first, middle, last };

enum class Then {
    works,    ///< the protocol repairs it
    refused,  ///< 8 at once
    lost,     ///< 6 when the time is up
    after,    ///< the operation had all it needed before
};

/// What comes of a step that is struck, and what the handle answers to the next call.
struct Outcome {
    Then then;
    Recovery recovery = Recovery::handle;
    const char* next = "";
};

struct Rule {
    const char* fault;
    Counter counter;
    Place place;
    Outcome request;  ///< struck in a step with a reply
    Outcome send;     ///< struck in a step with an acknowledgement alone
};

constexpr Outcome kWorks{Then::works};
/// The transfer goes on waiting for its acknowledgement: busy.
constexpr Outcome kLostAndBusy{Then::lost, Recovery::reopen, "5"};
/// The same with an instrument that will not say anything any more.
constexpr Outcome kSilent{Then::lost, Recovery::replace, "5"};
constexpr Outcome kSilentAfter{Then::after, Recovery::replace, "6"};
constexpr Outcome kNoSession{Then::lost, Recovery::reopen, "4"};
constexpr Outcome kNoSessionAfter{Then::after, Recovery::reopen, "4"};
constexpr Outcome kGone{Then::lost, Recovery::reopen, "3"};
constexpr Outcome kGoneAfter{Then::after, Recovery::reopen, "3"};
/// These faults do not go away; but the handle stays ready, which a busy one would not.
constexpr Outcome kAborts{Then::refused, Recovery::replace, "8"};

constexpr Rule kRules[] = {
    // Repaired by a repetition, or by not heeding what is too much.
    {"bad-crc", Counter::dataToHost, Place::first, kWorks, kWorks},
    {"bad-crc", Counter::dataToHost, Place::last, kWorks, kWorks},
    {"duplicate", Counter::toHost, Place::first, kWorks, kWorks},
    {"duplicate", Counter::toHost, Place::last, kWorks, kWorks},
    {"wrong-sequence", Counter::dataToHost, Place::first, kWorks, kWorks},
    {"wrong-sequence", Counter::dataToHost, Place::last, kWorks, kWorks},
    {"garbage", Counter::toHost, Place::all, kWorks, kWorks},
    {"one-byte", Counter::toHost, Place::all, kWorks, kWorks},
    {"retransmit", Counter::dataFromHost, Place::all, kWorks, kWorks},
    // A request is answered all the same; a send hears nothing.
    {"lost-ack", Counter::acknowledgements, Place::first, kWorks, kLostAndBusy},
    {"lost-ack", Counter::acknowledgements, Place::last, kWorks, kLostAndBusy},
    // Refused.
    {"abort-reply", Counter::dataToHost, Place::all, kAborts, kAborts},
    {"abort-send", Counter::dataFromHost, Place::all, kAborts, kAborts},
    // The instrument, the session or the line is gone.
    {"silence", Counter::fromHost, Place::first, kSilent, kSilent},
    {"silence", Counter::fromHost, Place::middle, kSilent, kSilent},
    {"silence", Counter::fromHost, Place::last, kSilentAfter, kSilent},
    {"disconnect", Counter::fromHost, Place::first, kNoSession, kNoSession},
    {"disconnect", Counter::fromHost, Place::middle, kNoSession, kNoSession},
    {"disconnect", Counter::fromHost, Place::last, kNoSessionAfter, kNoSession},
    {"unplug", Counter::fromHost, Place::first, kGone, kGone},
    {"unplug", Counter::fromHost, Place::middle, kGone, kGone},
    {"unplug", Counter::fromHost, Place::last, kGoneAfter, kGone},
};

const Special kSpecials[] = {
    // Waits without an end, as documented, for an instrument that does not answer.
    {"silence, first", "open", "silence:0", {"waits"}, 0ms, 5000ms, Recovery::replace},
    {"disconnect, first", "open", "disconnect:1", {"waits"}, 0ms, 5000ms},
    {"unplug, first", "open", "unplug:1", {"null"}, 0ms, kSoon},
    // The confirmation is not heard, after which the connection counts as made.
    {"silence, last", "open", "silence:1", {"handle"}, 0ms, kSoon, Recovery::replace, "6"},
    {"disconnect, last", "open", "disconnect:2", {"handle", "null"}, 0ms, kSoon},
    {"unplug, last", "open", "unplug:2", {"handle", "null"}, 0ms, kSoon},
    {"duplicate, first", "open", "duplicate:1", {"handle"}, 0ms, kSoon},
    {"garbage", "open", "garbage", {"handle"}, 0ms, kSoon},
    {"one-byte", "open", "one-byte", {"handle"}, 0ms, kSoon},
    // It has been asked for nothing, so nothing is left running.
    {"silence, first", "press", "silence:2", {"none"}, 0ms, 5000ms, Recovery::replace, "6"},
    // Half a second for the goodbye, whatever comes of it.
    {"silence, first", "close", "silence:2", {"closed"}, 0ms, 1200ms, Recovery::replace},
    {"disconnect, first", "close", "disconnect:3", {"closed"}, 0ms, 1200ms},
    {"unplug, first", "close", "unplug:3", {"closed"}, 0ms, 1200ms},
    {"duplicate, first", "close", "duplicate:2", {"closed"}, 0ms, 1200ms},
    {"garbage", "close", "garbage", {"closed"}, 0ms, 1200ms},
    {"one-byte", "close", "one-byte", {"closed"}, 0ms, 1200ms},
};

/// Packets of one step, with the largest packet of 64 bytes.
struct Packets {
    std::uint32_t sent = 0;
    std::uint32_t received = 0;
};

Packets packetsOf(const WiredStep& step) {
    const auto count = [](std::optional<std::size_t> payload) {
        constexpr std::size_t kRoom = 64 - 12;  // a packet without its header and checksum
        const std::size_t bytes = 1 + payload.value_or(0);
        return payload ? static_cast<std::uint32_t>((bytes + kRoom - 1) / kRoom) : 0U;
    };
    return {count(step.sent), count(step.received)};
}

std::uint32_t countOf(const WiredStep& step, Counter counter) {
    const Packets packets = packetsOf(step);
    switch (counter) {
        case Counter::dataToHost:
            return packets.received;
        case Counter::acknowledgements:
        case Counter::dataFromHost:
            return packets.sent;
        case Counter::toHost:
        case Counter::fromHost:
            return packets.sent + packets.received;
    }
    return 0;
}

/// What has been counted when the shake-hands is over.
std::uint32_t countOfOpening(Counter counter) {
    return counter == Counter::fromHost ? 2 : counter == Counter::toHost ? 1 : 0;
}

struct Strike {
    std::uint32_t number;
    const WiredStep* step;
};

/// The packet that is struck; nothing if the operation has none in this place.
std::optional<Strike> findStrike(const Operation& operation, Counter counter, Place place) {
    std::uint32_t number = countOfOpening(counter);
    std::optional<Strike> first;
    std::optional<Strike> middle;
    std::optional<Strike> last;
    for (const WiredStep& step : operation.wired) {
        const std::uint32_t count = countOf(step, counter);
        const Packets packets = packetsOf(step);
        if (count > 0) {
            first = first ? first : Strike{number + 1, &step};
            last = Strike{number + count, &step};
        }
        middle.reset();
        if (std::max(packets.sent, packets.received) > 1) {
            const std::uint32_t before = packets.received > 1 ? packets.sent : 1;
            middle = Strike{number + before + 1, &step};
        }
        number += count;
    }
    const bool isLastApart = first && last->number != first->number;
    const bool isMiddleApart =
        first && middle && middle->number != first->number && middle->number != last->number;
    switch (place) {
        case Place::all:
        case Place::first:
            return first;
        case Place::middle:
            return isMiddleApart ? middle : std::nullopt;
        case Place::last:
            return isLastApart ? last : std::nullopt;
    }
    return std::nullopt;
}

const char* suffixOf(Place place) {
    switch (place) {
        case Place::first:
            return ", first";
        case Place::middle:
            return ", middle";
        case Place::last:
            return ", last";
        case Place::all:
            break;
    }
    return "";
}

std::string optionOf(const Rule& rule, std::uint32_t number) {
    const std::string option = std::string("--fault ") + rule.fault;
    if (rule.place == Place::all) {
        return option;
    }
    // Silence begins after so many packets.
    const bool isAfter = std::string(rule.fault) == "silence";
    return option + ":" + std::to_string(isAfter ? number - 1 : number);
}

Cell makeCell(const Rule& rule, const Operation& operation, const Strike& strike) {
    const Outcome& outcome = strike.step->received ? rule.request : rule.send;
    Cell cell{Kind::wired, std::string(rule.fault) + suffixOf(rule.place), operation.name, {}};
    Expectation& expected = cell.expected;
    expected.options = optionOf(rule, strike.number);
    expected.recovery = outcome.recovery;
    expected.next = outcome.next;
    expected.atMost = kSoon;
    // Time for the instrument to act on the last packet.
    expected.pause = outcome.then == Then::after ? 300ms : 0ms;
    switch (outcome.then) {
        case Then::works:
        case Then::after:
            expected.outcomes = {"0"};
            expected.effect = Effect::done;
            break;
        case Then::refused:
            expected.outcomes = {"8"};
            expected.effect = Effect::refused;
            break;
        case Then::lost:
            expected.outcomes = {"6"};
            expected.atLeast = strike.step->timeout - 10ms;
            expected.atMost = strike.step->timeout + kLateness;
            break;
    }
    if (operation.name == "press") {
        const bool isDelivered = outcome.then == Then::works || outcome.then == Then::after;
        expected.outcomes = {isDelivered ? "called" : "none"};
        expected.atLeast = 0ms;
        expected.atMost = kSoon + kLateness;
        expected.effect = Effect::done;  // the instrument has stored it before it tells
    }
    return cell;
}

}  // namespace

std::vector<Cell> wiredCells() {
    std::vector<Cell> cells;
    for (const Rule& rule : kRules) {
        const std::string row = std::string(rule.fault) + suffixOf(rule.place);
        for (const Operation& operation : operations()) {
            const auto special = std::ranges::find_if(kSpecials, [&](const Special& s) {
                return row == s.row && operation.name == s.operation;
            });
            if (special != std::end(kSpecials)) {
                cells.push_back(toCell(Kind::wired, *special));
            } else if (const auto strike = findStrike(operation, rule.counter, rule.place)) {
                cells.push_back(makeCell(rule, operation, *strike));
            }
        }
    }
    return cells;
}

}  // namespace cqtest::faults

// What each fault of a wired instrument does to each operation.

#include <algorithm>
#include <optional>

#include "faults/Rules.h"

namespace cqtest::faults {
namespace {

using namespace std::chrono_literals;

/// Packets of one step, with the largest packet of 64 bytes.
struct Packets {
    std::uint32_t sent = 0;
    std::uint32_t received = 0;
};

/// What the instrument counts to find the place of a fault: data or acknowledgements of what a step
/// sends, receives, or both, behind those of the shake-hands.
struct Counter {
    bool ofSent;
    bool ofReceived;
    std::uint32_t ofOpening = 0;

    std::uint32_t of(const Packets& packets) const {
        return (ofSent ? packets.sent : 0) + (ofReceived ? packets.received : 0);
    }
};
constexpr Counter kDataToHost{false, true};
constexpr Counter kAcknowledgements{true, false};
constexpr Counter kToHost{true, true, 1};
constexpr Counter kDataFromHost{true, false};
constexpr Counter kFromHost{true, true, 2};

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

struct WiredRule {
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
/// These faults do not go away; but the handle stays ready, which a busy one would not.
constexpr Outcome kAborts{Then::refused, Recovery::replace, "8"};

constexpr WiredRule kWiredRules[] = {
    // Repaired by a repetition, or by not heeding what is too much.
    {"bad-crc", kDataToHost, Place::first, kWorks, kWorks},
    {"bad-crc", kDataToHost, Place::last, kWorks, kWorks},
    {"duplicate", kToHost, Place::first, kWorks, kWorks},
    {"duplicate", kToHost, Place::last, kWorks, kWorks},
    {"wrong-sequence", kDataToHost, Place::first, kWorks, kWorks},
    {"wrong-sequence", kDataToHost, Place::last, kWorks, kWorks},
    {"garbage", kToHost, Place::all, kWorks, kWorks},
    {"one-byte", kToHost, Place::all, kWorks, kWorks},
    {"retransmit", kDataFromHost, Place::all, kWorks, kWorks},
    // A request is answered all the same; a send hears nothing.
    {"lost-ack", kAcknowledgements, Place::first, kWorks, kLostAndBusy},
    {"lost-ack", kAcknowledgements, Place::last, kWorks, kLostAndBusy},
    // Refused.
    {"abort-reply", kDataToHost, Place::all, kAborts, kAborts},
    {"abort-send", kDataFromHost, Place::all, kAborts, kAborts},
    // The instrument, the session or the line is gone.
    {"silence", kFromHost, Place::first, kSilent, kSilent},
    {"silence", kFromHost, Place::middle, kSilent, kSilent},
    {"silence", kFromHost, Place::last, kSilentAfter, kSilent},
    {"disconnect", kFromHost, Place::first, kNoSession, kNoSession},
    {"disconnect", kFromHost, Place::middle, kNoSession, kNoSession},
    {"disconnect", kFromHost, Place::last, kNoSessionAfter, kNoSession},
    {"unplug", kFromHost, Place::first, kNoSession, kNoSession},
    {"unplug", kFromHost, Place::middle, kNoSession, kNoSession},
    {"unplug", kFromHost, Place::last, kNoSessionAfter, kNoSession},
};

const Special kWiredSpecials[] = {
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

Packets packetsOf(const WiredStep& step) {
    const auto count = [](std::optional<std::size_t> payload) {
        constexpr std::size_t kRoom = 64 - 12;  // a packet without its header and checksum
        const std::size_t bytes = 1 + payload.value_or(0);
        return payload ? static_cast<std::uint32_t>((bytes + kRoom - 1) / kRoom) : 0U;
    };
    return {count(step.sent), count(step.received)};
}

struct Strike {
    std::uint32_t number;
    const WiredStep* step;
};

std::vector<Strike> strikesOf(const Operation& operation, const Counter& counter) {
    std::vector<Strike> strikes;
    std::uint32_t number = counter.ofOpening;
    for (const WiredStep& step : operation.wired) {
        const std::uint32_t end = number + counter.of(packetsOf(step));
        while (number < end) {
            strikes.push_back({++number, &step});
        }
    }
    return strikes;
}

/// The packet that is struck; nothing if the operation has none in this place. `middle` is the second
/// of several packets of the last step's bulk: there the host's acknowledgement of the first one.
std::optional<Strike> findStrike(const Operation& operation, const Counter& counter, Place place) {
    const std::vector<Strike> strikes = strikesOf(operation, counter);
    if (strikes.empty()) {
        return std::nullopt;
    }
    if (place == Place::all || place == Place::first) {
        return strikes.front();
    }
    std::size_t at = strikes.size() - 1;
    if (place == Place::middle) {
        const Packets packets = packetsOf(operation.wired.back());
        const bool isBulk = std::max(packets.sent, packets.received) > 1;
        at = strikes.size() - counter.of(packets) + (packets.received > 1 ? packets.sent : 1);
        if (!isBulk || at + 1 >= strikes.size()) {
            return std::nullopt;
        }
    }
    return at == 0 ? std::nullopt : std::optional(strikes[at]);
}

std::string optionOf(const WiredRule& rule, std::uint32_t number) {
    const std::string option = std::string("--fault ") + rule.fault;
    if (rule.place == Place::all) {
        return option;
    }
    // Silence begins after so many packets.
    const bool isAfter = std::string(rule.fault) == "silence";
    return option + ":" + std::to_string(isAfter ? number - 1 : number);
}

Cell makeCell(const WiredRule& rule, const Operation& operation, const Strike& strike) {
    const Outcome& outcome = strike.step->received ? rule.request : rule.send;
    Cell cell{Kind::wired, rowOf(rule.fault, rule.place), operation.name, {}};
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
    for (const WiredRule& rule : kWiredRules) {
        const std::string row = rowOf(rule.fault, rule.place);
        for (const Operation& operation : operations()) {
            const auto special = std::ranges::find_if(kWiredSpecials, [&](const Special& s) {
                return row == s.row && operation.name == s.operation;
            });
            if (special != std::end(kWiredSpecials)) {
                cells.push_back(toCell(Kind::wired, *special));
            } else if (const auto strike = findStrike(operation, rule.counter, rule.place)) {
                cells.push_back(makeCell(rule, operation, *strike));
            }
        }
    }
    return cells;
}

}  // namespace cqtest::faults

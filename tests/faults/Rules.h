#pragma once

#include "faults/Matrix.h"

namespace cqtest::faults {

/// Where in an operation a fault strikes.
enum class Place { all, first, middle, last };

inline std::string rowOf(const char* fault, Place place) {
    constexpr const char* kSuffixes[] = {"", ", first", ", middle", ", last"};
    return std::string(fault) + kSuffixes[static_cast<std::size_t>(place)];
}

/// A cell of an operation that has no rule but a line of its own: opening, closing, scanning.
struct Special {
    const char* row;
    const char* operation;
    const char* option;
    std::vector<std::string> outcomes;
    milliseconds atLeast;
    milliseconds atMost;
    Recovery recovery = Recovery::reopen;
    const char* next = "";
    milliseconds pause{0};
};

inline Cell toCell(Kind kind, const Special& special) {
    Cell cell{kind, special.row, special.operation, {}};
    cell.expected.options = std::string("--fault ") + special.option;
    cell.expected.outcomes = special.outcomes;
    cell.expected.atLeast = special.atLeast;
    cell.expected.atMost = special.atMost;
    cell.expected.effect = Effect::done;
    cell.expected.recovery = special.recovery;
    cell.expected.next = special.next;
    if (special.outcomes == std::vector<std::string>{"handle"} && cell.expected.next.empty() &&
        special.recovery == Recovery::reopen) {
        cell.expected.recovery = Recovery::handle;  // nothing has befallen it
    }
    cell.expected.pause = special.pause;
    return cell;
}

/// What a call may take that needs no time-out, on a machine that has much else to do.
inline constexpr milliseconds kSoon{3000};
/// How much later than its time-out a call may come back there.
inline constexpr milliseconds kLateness{2000};

}  // namespace cqtest::faults

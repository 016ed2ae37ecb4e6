#pragma once

#include "operations/Operations.h"

/// \file
/// The matrix: faults down, operations across. A cell is one fault in one operation, on a virtual
/// instrument of its own, with what is promised to come of it.

namespace cqtest::faults {

/// How to get on after the fault.
enum class Recovery {
    handle,   ///< the same handle works
    reopen,   ///< closing it and opening a new one does
    replace,  ///< so does a new one to another instrument: this one does not recover
};

/// Whether the instrument has done what it was asked to.
enum class Effect { done, refused, unknown };

struct Expectation {
    std::string options;                ///< the fault, for the instrument's command line
    std::vector<std::string> outcomes;  ///< any of these
    milliseconds atLeast{0};
    milliseconds atMost{0};
    Effect effect = Effect::unknown;
    Recovery recovery = Recovery::handle;
    std::string next;        ///< what the handle then answers, if it does not work; any if empty
    milliseconds settle{0};  ///< to wait before the operation
    milliseconds pause{0};   ///< to wait after it
    std::size_t struckStep = 0;   ///< of a wireless operation
    std::string textFault;        ///< what the fault has done to a text
    milliseconds unplugAfter{0};  ///< from the operation's beginning, if it is to be
    bool isKilled = false;        ///< the host is killed in the middle, again and again
};

struct Cell {
    Kind kind;
    std::string fault;
    std::string operation;
    Expectation expected;
};

/// The rows of all instruments: without a fault, each operation does what it should; and with hosts
/// that are killed in the middle.
std::vector<Cell> commonCells(Kind kind);

/// All cells; each row of faults from its first operation to its last.
std::vector<Cell> wiredCells();
std::vector<Cell> wirelessCells();

struct Result {
    std::string outcome;
    milliseconds taken{0};
    std::vector<std::string> problems;
};

/// Runs the cell in this process.
Result runCell(const Cell& cell);

/// Takes an instrument that has no fault through the operations, so that what the library and the
/// run-time libraries set up once is there before the cells count.
void warmUp(Kind kind);

/// Runs each cell in a process of its own, at most so many at a time; those that wait longest begin
/// first. Side by side the cells hold each other up, and an instrument that is held up is one that
/// does not answer. So a wrong cell is run again in a crowd of half the size, which grows again while
/// all goes well; it must be right three times in a row, before it has been wrong three times.
/// \return the results in the cells' order.
std::vector<Result> runAll(const std::vector<Cell>& cells, std::size_t jobs);

}  // namespace cqtest::faults

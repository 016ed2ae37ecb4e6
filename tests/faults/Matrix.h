#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cqapi/CQApi.h"
#include "peer/VirtualInstrument.h"

/// \file
/// The matrix: faults down, operations across. A cell is one fault in one operation, on a virtual
/// instrument of its own, with what is promised to come of it.

namespace cqtest::faults {

using std::chrono::milliseconds;

enum class Kind { wired, wireless };

// ---------------------------------------------------------------- operations

/// One transfer of a wired operation. Without `sent` the instrument begins; without `received` it
/// does no more than acknowledge.
struct WiredStep {
    std::optional<std::size_t> sent;  ///< bytes of payload
    std::optional<std::size_t> received;
    milliseconds timeout;
};

/// How the reply to a wireless request is judged, which decides what a spoiled one gives.
enum class Check {
    word,     ///< "OK" or failed
    record,   ///< 256 bytes or failed
    number,   ///< refusals told apart, 4 bytes
    read,     ///< refusals told apart, 256 bytes
    done,     ///< refusals told apart, nothing else looked at
    item,     ///< refusals told apart, a byte
    text,     ///< taken as it comes
    block,    ///< refusals told apart, 248 bytes
    written,  ///< "OK", "INVAL", or failed
};

struct WirelessStep {
    Check check;
    milliseconds timeout;
};

/// What the instrument stores. Every instrument of the matrix begins with the same.
struct Stored {
    std::uint32_t standards = 5;
    std::uint32_t samples = 15;
};

struct Expectation;

/// Where an operation runs.
struct Session {
    Kind kind;
    VirtualInstrument* instrument;
    CqHandle handle;
    const Expectation* expected;
    std::vector<std::string>* problems;

    bool isWired() const { return kind == Kind::wired; }
    void check(bool isRight, const std::string& problem) const {
        if (!isRight) {
            problems->push_back(problem);
        }
    }
};

struct Operation {
    std::string name;
    std::vector<WiredStep> wired;
    std::vector<WirelessStep> wireless;
    /// Calls the export, checks what it has written, and gives its result: a code, or a word.
    std::string (*run)(Session&);
    /// What is stored when it has been carried out.
    Stored after{};
    /// Checks on a handle that works that what was written is there.
    void (*readBack)(Session&) = nullptr;

    /// Instruments of this kind have it. Opening, closing and pressing take no steps of their own.
    bool isFor(Kind kind) const {
        return name == "open" || name == "close" || name == "press" ||
               (name == "scan" ? kind == Kind::wireless
                               : !(kind == Kind::wired ? wired.empty() : wireless.empty()));
    }
};

const std::vector<Operation>& operations();
const Operation& operationNamed(const std::string& name);

// ---------------------------------------------------------------- expectations

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
    std::size_t struckStep = 0;  ///< of a wireless operation
    std::string textFault;       ///< what the fault has done to a text
};

struct Cell {
    Kind kind;
    std::string fault;
    std::string operation;
    Expectation expected;
};

/// The row without a fault: each operation does what it should.
std::vector<Cell> faultlessCells(Kind kind);

/// All cells; each row of faults from its first operation to its last.
std::vector<Cell> wiredCells();
std::vector<Cell> wirelessCells();

// ---------------------------------------------------------------- results

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

/// Runs each cell in a process of its own, so many at a time; those that wait longest begin first.
/// \return the results in the cells' order.
std::vector<Result> runAll(const std::vector<Cell>& cells, std::size_t jobs);

void printMarkdown(const std::vector<Cell>& cells, const std::vector<Result>& results);
/// Prints the wrong cells and the counts. \return how many were wrong.
std::size_t printSummary(const std::vector<Cell>& cells, const std::vector<Result>& results,
                         milliseconds taken);

}  // namespace cqtest::faults

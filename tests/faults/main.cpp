// Every fault of the virtual instrument in every operation of the library that can meet it. For
// each of these cells: the call gives the documented code in the documented time, or right data; it
// writes nothing outside the records that it was given, and nothing inside when it fails; then the
// handle works again, or a new one does; and at the end no thread, descriptor or block of memory is
// left behind.

#include <algorithm>
#include <chrono>
#include <CLI/CLI.hpp>
#include <cstdio>

#include "faults/Matrix.h"

namespace {

using namespace cqtest::faults;
using cqtest::Kind;
using cqtest::milliseconds;

struct Choice {
    bool isWiredOnly = false;
    bool isWirelessOnly = false;
    bool isList = false;
    std::string only;
    std::size_t jobs = 32;
};

bool isChosen(const Cell& cell, const std::string& only) {
    const auto slash = only.find('/');
    const std::string fault = only.substr(0, slash);
    const std::string operation = slash == only.npos ? "" : only.substr(slash + 1);
    return (fault.empty() || cell.fault == fault || cell.fault.starts_with(fault + ",")) &&
           (operation.empty() || cell.operation == operation);
}

std::vector<Cell> chosenCells(const Choice& choice) {
    std::vector<Cell> cells;
    const auto add = [&](const std::vector<Cell>& some) {
        std::ranges::copy_if(some, std::back_inserter(cells),
                             [&](const Cell& cell) { return isChosen(cell, choice.only); });
    };
    if (!choice.isWirelessOnly) {
        add(commonCells(Kind::wired));
        add(wiredCells());
    }
    if (!choice.isWiredOnly) {
        add(commonCells(Kind::wireless));
        add(wirelessCells());
    }
    return cells;
}

/// Prints the wrong cells and the counts. \return how many were wrong.
std::size_t printSummary(const std::vector<Cell>& cells, const std::vector<Result>& results,
                         milliseconds taken) {
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (results[i].problems.empty()) {
            continue;
        }
        ++wrong;
        const Cell& cell = cells[i];
        std::printf("wrong: %s %s/%s (%s)\n", cell.kind == Kind::wired ? "wired" : "wireless",
                    cell.fault.c_str(), cell.operation.c_str(), cell.expected.options.c_str());
        for (const std::string& problem : results[i].problems) {
            std::printf("       %s\n", problem.c_str());
        }
    }
    std::printf("%zu cells in %.1f s, %zu wrong\n", cells.size(),
                static_cast<double>(taken.count()) / 1000, wrong);
    return wrong;
}

int runMatrix(const Choice& choice) {
    const std::vector<Cell> cells = chosenCells(choice);
    if (cells.empty()) {
        std::fprintf(stderr, "No such cell. --list names them all.\n");
        return 2;
    }
    if (choice.isList) {
        for (const Cell& cell : cells) {
            std::printf("%s/%s: %s\n", cell.fault.c_str(), cell.operation.c_str(),
                        cell.expected.options.c_str());
        }
        return 0;
    }
    const auto start = std::chrono::steady_clock::now();
    for (const Kind kind : {Kind::wired, Kind::wireless}) {
        if (std::ranges::count(cells, kind, &Cell::kind) > 0) {
            warmUp(kind);
        }
    }
    const std::vector<Result> results = runAll(cells, choice.jobs);
    const auto taken =
        std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start);
    return printSummary(cells, results, taken) == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    Choice choice;
    CLI::App app("Meets every fault of the virtual instrument with every operation of the library",
                 "cqapi-fault-matrix");
    auto* const wired = app.add_flag("--wired", choice.isWiredOnly, "Wired instruments only");
    app.add_flag("--wireless", choice.isWirelessOnly, "Wireless instruments only")->excludes(wired);
    app.add_option("--only", choice.only,
                   "Only this fault, or this operation (with nothing before the slash), or cell")
        ->type_name("FAULT/OPERATION");
    app.add_option("--jobs", choice.jobs, "Cells that run at a time; fewer on a busy machine")
        ->check(CLI::Range(1, 500))
        ->capture_default_str();
    app.add_flag("--list", choice.isList, "Print the cells and do not run them");
    CLI11_PARSE(app, argc, argv);
    return runMatrix(choice);
}

#include <algorithm>
#include <cstdio>
#include <map>

#include "faults/Matrix.h"

namespace cqtest::faults {
namespace {

/// Tables that fit a page: the operations of each.
const std::vector<std::vector<std::string>> kTables{
    {"open", "scan", "close", "info", "status", "calibrateWhite", "calibrateBlack",
     "measureStandard", "measureTrial", "press"},
    {"totalStandards", "totalSamples", "sampleCount", "uploadStandards", "uploadAll",
     "uploadSamples", "download"},
    {"deleteStandard", "deleteAll", "deleteSample", "getWhiteBoard", "setWhiteBoard",
     "getParameter", "setParameter"},
};

std::string toText(const Cell& cell, const Result& result) {
    char time[32];
    std::snprintf(time, sizeof(time), "%.1f", static_cast<double>(result.taken.count()) / 1000);
    const bool isRight = result.problems.empty();
    return result.outcome + " / " + time + " / " + "hrn"[static_cast<int>(cell.expected.recovery)] +
           (isRight ? "" : " **wrong**");
}

void printTable(Kind kind, const std::vector<std::string>& columns, const std::vector<Cell>& cells,
                const std::vector<Result>& results) {
    std::vector<std::string> rows;
    std::map<std::pair<std::string, std::string>, std::string> texts;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const Cell& cell = cells[i];
        if (cell.kind != kind || std::ranges::count(columns, cell.operation) == 0) {
            continue;
        }
        if (rows.empty() || rows.back() != cell.fault) {
            rows.push_back(cell.fault);
        }
        texts[{cell.fault, cell.operation}] = toText(cell, results[i]);
    }
    std::printf("| fault |");
    for (const std::string& column : columns) {
        std::printf(" %s |", column.c_str());
    }
    std::printf("\n|---|");
    for (std::size_t i = 0; i < columns.size(); ++i) {
        std::printf("---|");
    }
    for (const std::string& row : rows) {
        std::printf("\n| %s |", row.c_str());
        for (const std::string& column : columns) {
            const auto text = texts.find({row, column});
            std::printf(" %s |", text == texts.end() ? "" : text->second.c_str());
        }
    }
    std::printf("\n\n");
}

}  // namespace

void printMarkdown(const std::vector<Cell>& cells, const std::vector<Result>& results) {
    std::printf(
        "Each cell: what the call gave, after how many seconds, and how to get on: h the same\n"
        "handle works, r close it and open again, n the same with another instrument (this one\n"
        "does not recover). An empty cell: the fault cannot meet the operation.\n\n");
    for (const Kind kind : {Kind::wired, Kind::wireless}) {
        const bool isThere = std::ranges::count(cells, kind, &Cell::kind) > 0;
        for (std::size_t i = 0; isThere && i < kTables.size(); ++i) {
            std::printf("### %s\n\n", kind == Kind::wired ? "Wired" : "Wireless");
            printTable(kind, kTables[i], cells, results);
        }
    }
}

std::size_t printSummary(const std::vector<Cell>& cells, const std::vector<Result>& results,
                         milliseconds taken) {
    std::size_t wrong = 0;
    std::map<std::string, std::size_t> outcomes;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        ++outcomes[results[i].outcome];
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
    std::printf("%zu cells in %.1f s, %zu wrong; results:", cells.size(),
                static_cast<double>(taken.count()) / 1000, wrong);
    const char* separator = " ";
    for (const auto& [outcome, count] : outcomes) {
        std::printf("%s%s (%zu)", separator, outcome.c_str(), count);
        separator = ", ";
    }
    std::printf("\n");
    return wrong;
}

}  // namespace cqtest::faults

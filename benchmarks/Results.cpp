#include "Results.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>
#include <stdexcept>

namespace cqbench {
namespace {

constexpr std::size_t kColumns = 6;
using Cells = std::array<std::string, kColumns>;

std::string number(double value) {
    std::ostringstream text;
    const double size = std::abs(value);
    text << std::fixed
         << std::setprecision(size >= 100                ? 0
                              : size >= 10               ? 1
                              : size >= 0.1 || size == 0 ? 2
                                                         : 4)
         << value;
    return text.str();
}

std::string withUnit(double value, const std::string& unit) {
    return number(value) + (unit.empty() ? "" : " " + unit);
}

std::string goalText(const Result& row) {
    const std::string value = number(row.goal);
    switch (row.bound) {
        case Bound::atMost:
            return "at most " + value;
        case Bound::atLeast:
            return "at least " + value;
        case Bound::figureAtLeast:
            return "at least " + withUnit(row.goal, row.unit);
    }
    return value;
}

Cells cellsOf(const Result& row) {
    return {row.what,
            withUnit(row.figure, row.unit),
            row.peerName + ": " + withUnit(row.peer, row.unit),
            number(row.ratio()),
            goalText(row),
            row.isMet() ? "yes" : "NO"};
}

void printLine(std::ostream& out, const Cells& cells,
               const std::array<std::size_t, kColumns>& width, TableStyle style) {
    const bool isMarkdown = style == TableStyle::markdown;
    out << (isMarkdown ? "| " : "");
    for (std::size_t i = 0; i < kColumns; ++i) {
        const bool mustPad = !isMarkdown && i + 1 < kColumns;
        out << std::left << std::setw(mustPad ? static_cast<int>(width[i]) : 0) << cells[i];
        out << (isMarkdown ? " |" : "") << (i + 1 < kColumns ? (isMarkdown ? " " : "  ") : "\n");
    }
}

}  // namespace

bool Result::isMet() const {
    switch (bound) {
        case Bound::atMost:
            return ratio() <= goal;
        case Bound::atLeast:
            return ratio() >= goal;
        case Bound::figureAtLeast:
            return figure >= goal;
    }
    return false;
}

std::vector<Result>& results() {
    static std::vector<Result> rows;
    return rows;
}

void printTable(std::ostream& out, const std::vector<Result>& rows, TableStyle style) {
    const Cells titles{"what", "figure", "peer or limit", "ratio", "goal", "met"};
    std::vector<Cells> lines{titles};
    std::transform(rows.begin(), rows.end(), std::back_inserter(lines), cellsOf);
    std::array<std::size_t, kColumns> width{};
    for (const Cells& line : lines) {
        for (std::size_t i = 0; i < kColumns; ++i) {
            width[i] = std::max(width[i], line[i].size());
        }
    }
    for (const Cells& line : lines) {
        printLine(out, line, width, style);
        if (&line == &lines.front() && style == TableStyle::markdown) {
            out << "|---|---|---|---|---|---|\n";
        }
    }
}

void writeJson(const std::string& path, const std::vector<Result>& rows) {
    nlohmann::json list = nlohmann::json::array();
    for (const Result& row : rows) {
        list.push_back({{"what", row.what},
                        {"unit", row.unit},
                        {"figure", row.figure},
                        {"peer", row.peerName},
                        {"peerFigure", row.peer},
                        {"ratio", row.ratio()},
                        {"goal", goalText(row)},
                        {"met", row.isMet()}});
    }
    std::ofstream file(path);
    file << list.dump(2) << '\n';
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + path + "; choose another path for --json");
    }
}

}  // namespace cqbench

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "color/ColorNames.h"
#include "commands/Program.h"
#include "exchange/Exchange.h"
#include "job/Limit.h"
#include "terminal/Palette.h"
#include "text/JsonObject.h"

namespace cqtool {

/// What trials are compared by.
struct Judging {
    DifferenceFormula formula;  ///< that is shown
    JudgedViewing viewing;
    std::vector<Limit> limits;  ///< without any there is no verdict
};

/// A trial beside its standard.
struct Comparison {
    /// Under one illuminant.
    struct Row {
        Viewing viewing;
        double deltaEab = 0;
        CqColorDifference difference{};  ///< deltaE by the formula
        std::optional<Grade> grade;      ///< by the limits that are for this illuminant
    };
    DifferenceFormula formula;
    Rgb standard;
    Rgb trial;
    std::vector<Row> rows;  ///< the first illuminant's, and those for which there are colours
    std::optional<Verdict> verdict;
};

/// Throws Failure without colours for the first illuminant, and for a limit that cannot be judged.
Comparison compare(const RecordEntry& standard, const RecordEntry& trial, const Judging& judging);

/// In one line: "ΔL* -0.40  Δa* +0.11  Δb* +0.28  ΔC* +0.28  ΔH* +0.12  ΔE00 0.42  ✓ pass".
std::string lineOf(const Comparison& comparison);

/// A line for each illuminant, below a line of titles.
std::vector<std::string> tableOf(const Comparison& comparison);

/// The sign, the grade and what decides it: "✗ fail: ΔE00 1.23 > 1 under A"; empty without limits.
std::string verdictText(const Comparison& comparison);

/// Adds "deltaEab", by another formula "formula" and "deltaE", then "deltaL" to "deltaH", and with
/// limits "verdict", under several illuminants "illuminants".
void addComparison(JsonObject& json, const Comparison& comparison);

/// The options --tolerance and --warn.
void addLimitOptions(CommandLine& line, std::vector<Limit>& limits);

}  // namespace cqtool

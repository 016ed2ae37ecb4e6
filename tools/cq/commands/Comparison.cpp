#include "commands/Comparison.h"

#include <algorithm>
#include <iterator>

#include "color/DifferenceComponents.h"
#include "Failure.h"
#include "job/JobEvents.h"
#include "text/Numbers.h"
#include "text/TextTable.h"

namespace cqtool {
namespace {

constexpr std::size_t kTableDecimals = 2;

/// L*, a*, b* of an entry without a spectrum are for the first illuminant.
ColorData requiredLab(const RecordEntry& entry, const Viewing& viewing) {
    const auto lab = labOf(entry, viewing, viewing);
    if (!lab) {
        throw Failure("'" + entry.name + "' has no colour for " + viewingName(viewing),
                      "give one with a spectrum, or the illuminant and observer that its L*, a*, "
                      "b* are for");
    }
    return *lab;
}

std::optional<Grade> gradeUnder(std::int32_t illuminant, const Verdict& verdict) {
    std::optional<Grade> grade;
    for (const Finding& finding : verdict.findings) {
        if (finding.illuminant == illuminant) {
            const Grade own = finding.isMet             ? Grade::pass
                              : finding.limit.isWarning ? Grade::warn
                                                        : Grade::fail;
            grade = std::max(grade.value_or(own), own);
        }
    }
    return grade;
}

std::string componentText(const Comparison& comparison, const Comparison::Row& row,
                          std::size_t component) {
    const Quantity quantity{
        .kind = Quantity::Kind::component, .formula = {}, .component = component};
    return withSign(
        row.difference.*kDifferenceComponents[component].value,
        comparison.verdict.value_or(Verdict{}).decimalsOf(quantity, row.viewing.illuminant));
}

std::string differenceText(const Comparison& comparison, const Comparison::Row& row) {
    const Quantity quantity{.kind = Quantity::Kind::difference, .formula = comparison.formula};
    return fixed(shortest(row.difference.deltaE), comparison.verdict.value_or(Verdict{}).decimalsOf(
                                                      quantity, row.viewing.illuminant));
}

JsonObject componentsJson(const CqColorDifference& difference) {
    JsonObject json;
    for (const DifferenceComponent& component : kDifferenceComponents) {
        json[component.key] = shortest(difference.*component.value);
    }
    return json;
}

}  // namespace

Comparison compare(const RecordEntry& standard, const RecordEntry& trial, const Judging& judging) {
    const Viewing primary = judging.viewing.primary();
    Comparison comparison;
    comparison.formula = judging.formula;
    comparison.standard = rgbOfLab(requiredLab(standard, primary), primary);
    comparison.trial = rgbOfLab(requiredLab(trial, primary), primary);
    if (!judging.limits.empty()) {
        comparison.verdict = verdictOf(judging.limits, judging.viewing, standard, trial);
    }
    for (const std::int32_t illuminant : judging.viewing.illuminants) {
        const Viewing viewing{illuminant, judging.viewing.observer};
        const auto standardLab = labOf(standard, viewing, primary);
        const auto trialLab = labOf(trial, viewing, primary);
        if (standardLab && trialLab) {
            Comparison::Row row{viewing,
                                deltaEab(*standardLab, *trialLab),
                                compare(judging.formula, *standardLab, *trialLab),
                                {}};
            if (comparison.verdict) {
                row.grade = gradeUnder(illuminant, *comparison.verdict);
            }
            comparison.rows.push_back(row);
        }
    }
    return comparison;
}

std::string lineOf(const Comparison& comparison) {
    const Comparison::Row& row = comparison.rows.front();
    std::string line;
    for (std::size_t i = 0; i < kDifferenceComponents.size(); ++i) {
        line += kDifferenceComponents[i].symbol;
        line += ' ' + componentText(comparison, row, i) + "  ";
    }
    line += symbolOf(comparison.formula) + ' ' + differenceText(comparison, row);
    const std::string verdict = verdictText(comparison);
    return verdict.empty() ? line : line + "  " + verdict;
}

std::vector<std::string> tableOf(const Comparison& comparison) {
    std::vector<TextTable::Column> columns{{"", TextTable::Align::left}};
    for (const DifferenceComponent& component : kDifferenceComponents) {
        columns.push_back({component.symbol});
    }
    columns.push_back({symbolOf(comparison.formula)});
    columns.push_back({"", TextTable::Align::left});
    TextTable table(std::move(columns));
    std::vector<TextTable::Row> rows;
    for (const Comparison::Row& row : comparison.rows) {
        TextTable::Row& cells = rows.emplace_back();
        cells.push_back(viewingName(row.viewing));
        for (std::size_t i = 0; i < kDifferenceComponents.size(); ++i) {
            cells.push_back(componentText(comparison, row, i));
        }
        cells.push_back(differenceText(comparison, row));
        cells.push_back(row.grade ? signOf(*row.grade) : "");
        table.fit(cells);
    }
    std::vector<std::string> lines{table.titles()};
    std::transform(rows.begin(), rows.end(), std::back_inserter(lines),
                   [&table](const TextTable::Row& cells) { return table.line(cells); });
    return lines;
}

std::string verdictText(const Comparison& comparison) {
    if (!comparison.verdict) {
        return {};
    }
    const Verdict& verdict = *comparison.verdict;
    const std::string text = std::string(signOf(verdict.grade)) + ' ' + nameOf(verdict.grade);
    const Finding* deciding = verdict.deciding();
    return deciding == nullptr ? text : text + ": " + findingText(*deciding);
}

void addComparison(JsonObject& json, const Comparison& comparison) {
    const Comparison::Row& first = comparison.rows.front();
    json["deltaEab"] = first.deltaEab;
    if (comparison.formula != DifferenceFormula{}) {
        json["formula"] = nameOf(comparison.formula);
        json["deltaE"] = shortest(first.difference.deltaE);
    }
    json.update(componentsJson(first.difference));
    for (std::size_t i = 0; comparison.rows.size() > 1 && i < comparison.rows.size(); ++i) {
        const Comparison::Row& row = comparison.rows[i];
        JsonObject under = componentsJson(row.difference);
        under["deltaE"] = shortest(row.difference.deltaE);
        if (row.grade) {
            under["grade"] = nameOf(*row.grade);
        }
        json["illuminants"][illuminantName(row.viewing.illuminant)] = std::move(under);
    }
    if (comparison.verdict) {
        JsonObject verdict = verdictJson(*comparison.verdict);
        if (const Finding* deciding = comparison.verdict->deciding()) {
            verdict["decidedBy"] = findingText(*deciding);
        }
        json["verdict"] = std::move(verdict);
    }
}

void addLimitOptions(CommandLine& line, std::vector<Limit>& limits) {
    const auto add = [&line, &limits](const char* option, const std::string& description,
                                      bool isWarning) {
        line.addList({option, "LIMIT", description},
                     [&limits, isWarning](const std::vector<std::string>& texts) {
                         for (const std::string& text : texts) {
                             limits.push_back(limitOf(text, isWarning));
                         }
                     });
    };
    add("--tolerance",
        "What a trial's difference must keep within, such as \"dE00<=1.0\", \"|dL|<=0.6\" or "
        "\"dE00<=1.2@A\"; several times or with commas",
        false);
    add("--warn", "The same, beyond which a trial passes with a warning", true);
}

}  // namespace cqtool

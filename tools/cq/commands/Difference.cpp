#include <algorithm>
#include <iterator>
#include <memory>
#include <ostream>

#include "color/ColorJson.h"
#include "color/DifferenceComponents.h"
#include "commands/Commands.h"
#include "commands/ConvertedColors.h"
#include "commands/GivenColors.h"
#include "commands/Options.h"
#include "Failure.h"
#include "text/Numbers.h"
#include "text/TextTable.h"

namespace cqtool {
namespace {

struct DifferenceOptions {
    GivenColors given;
    Viewing viewing;
    std::vector<DifferenceFormula> formulas{differenceFormulas().begin(),
                                            differenceFormulas().end()};
    OutputOptions output;
};

/// A colour, as L*, a*, b*.
struct NamedLab {
    std::string name;
    ColorData lab;
};

/// A standard and at least one trial.
std::vector<NamedLab> readLabs(const DifferenceOptions& options) {
    std::vector<NamedLab> labs;
    const auto colors = readAllColors(options.given);
    checkViewing(colors, options.given.kind, options.viewing);
    labs.reserve(colors.size());
    for (const InputColor& color : colors) {
        labs.push_back(
            {color.name, colorOf(color, options.given.kind, ColorSpaceLab, options.viewing)});
    }
    if (labs.size() < 2) {
        throw UsageError(
            "give the standard and then the trials: as numbers, with --input FILE, or the standard "
            "as numbers and the trials with --input");
    }
    return labs;
}

TextTable::Row rowOf(const ColorData& standard, const NamedLab& trial,
                     const std::vector<DifferenceFormula>& formulas) {
    TextTable::Row row{trial.name};
    const CqColorDifference components = compare({}, standard, trial.lab);
    for (const DifferenceComponent& component : kDifferenceComponents) {
        row.push_back(withSign(components.*component.value, 2));
    }
    for (const DifferenceFormula& formula : formulas) {
        row.push_back(fixed(difference(formula, standard, trial.lab), 2));
    }
    return row;
}

std::string tableOf(const std::vector<NamedLab>& labs,
                    const std::vector<DifferenceFormula>& formulas) {
    std::vector<TextTable::Column> columns{{"trial", TextTable::Align::left}};
    for (const DifferenceComponent& component : kDifferenceComponents) {
        columns.push_back({component.symbol});
    }
    for (const DifferenceFormula& formula : formulas) {
        columns.push_back({symbolOf(formula)});
    }
    TextTable table(std::move(columns));
    std::vector<TextTable::Row> rows;
    for (auto trial = labs.begin() + 1; trial != labs.end(); ++trial) {
        rows.push_back(rowOf(labs.front().lab, *trial, formulas));
        table.fit(rows.back());
    }
    std::string text = table.titles() + '\n';
    for (const TextTable::Row& row : rows) {
        text += table.line(row) + '\n';
    }
    return text;
}

JsonObject jsonOf(const std::vector<NamedLab>& labs, const DifferenceOptions& options) {
    const SpaceInfo& space = colorSpace(ColorSpaceLab);
    const ColorData& standard = labs.front().lab;
    JsonList trials;
    for (auto trial = labs.begin() + 1; trial != labs.end(); ++trial) {
        JsonObject entry{{"name", trial->name}, {"lab", colorJson(trial->lab, space)}};
        const CqColorDifference components = compare({}, standard, trial->lab);
        for (const DifferenceComponent& component : kDifferenceComponents) {
            entry[component.key] = shortest(components.*component.value);
        }
        for (const DifferenceFormula& formula : options.formulas) {
            entry["deltaE"][nameOf(formula)] = difference(formula, standard, trial->lab);
        }
        trials.push_back(std::move(entry));
    }
    return {{"illuminant", illuminantName(options.viewing.illuminant)},
            {"observer", observerDegrees(options.viewing.observer)},
            {"standard", {{"name", labs.front().name}, {"lab", colorJson(standard, space)}}},
            {"trials", std::move(trials)}};
}

void runDifference(const DifferenceOptions& options, const Environment& environment) {
    const auto labs = readLabs(options);
    environment.out << (options.output.json ? pageOfJson(jsonOf(labs, options))
                                            : tableOf(labs, options.formulas));
}

}  // namespace

void addDifference(Program& program, const Environment& environment) {
    CommandLine line = program.add(
        "difference", "Compare trials with a standard by every formula; needs no instrument");
    const auto options = std::make_shared<DifferenceOptions>();
    addKindOption(line, options->given.kind);
    addOptions(line, options->given);
    line.addList({"--formula", "NAMES",
                  "Formulas, several with commas: " + differenceFormulaNames() +
                      "; with factors 2000:2:1:1, cmc:2:1 (default all)"},
                 [options](const std::vector<std::string>& names) {
                     options->formulas.clear();
                     std::transform(names.begin(), names.end(),
                                    std::back_inserter(options->formulas), differenceFormulaNamed);
                 });
    addOptions(line, options->viewing);
    addOptions(line, options->output);
    line.setExamples(
        "The first colour is the standard.\n\n"
        "Examples:\n"
        "  cq difference --from lab 52.1 38.4 21.7  51.6 39.2 22.9\n"
        "  cq difference --from lab 52.1 38.4 21.7 --input trials.csv --formula 2000,cmc:2:1\n"
        "  cq difference --from spectrum --input batch.csv --illuminant D65 --json");
    line.setAction([options, environment] { runDifference(*options, environment); });
}

}  // namespace cqtool

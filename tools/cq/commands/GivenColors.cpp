#include "commands/GivenColors.h"

#include <iterator>
#include <sstream>

#include "commands/Options.h"
#include "Failure.h"
#include "system/Files.h"

namespace cqtool {
namespace {

std::vector<InputColor> readTable(const GivenColors& given) {
    std::istringstream content(readFile(given.input));
    const std::string source = sourceName(given.input);
    return colorsOfTable(readCsv(content, source), given.kind, source);
}

/// Spectra as fractions that reflectances can be.
std::vector<InputColor> checked(std::vector<InputColor> colors, const GivenColors& given) {
    if (given.kind == InputKind::spectrum) {
        if (given.isPercent) {
            convertFromPercent(colors);
        }
        checkReflectances(colors);
    } else if (given.isPercent) {
        throw UsageError("--percent is for spectra");
    }
    return colors;
}

}  // namespace

void addKindOption(CommandLine& line, InputKind& kind) {
    addNamed(line,
             {.name = "--from",
              .valueName = "spectrum|xyz|lab",
              .description = "What the numbers are; a spectrum is 31 reflectances, 400 to 700 nm",
              .isRequired = true},
             kind, inputKindNamed);
}

void addOptions(CommandLine& line, GivenColors& given) {
    line.addOption({"--input", "FILE", "Table of colours, one per line; '-' reads standard input"},
                   given.input);
    line.addArguments({"values", "NUMBERS", "The colour values, instead of --input"}, given.values);
    line.addFlag({"--percent", "", "The spectra are in percent"}, given.isPercent);
}

std::vector<InputColor> readColors(const GivenColors& given) {
    if (given.input.empty() == given.values.empty()) {
        throw UsageError(
            given.input.empty()
                ? "give the colours: a file with --input FILE, '-' for standard input, "
                  "or numbers on the command line"
                : "give either --input or numbers on the command line, not both");
    }
    return readAllColors(given);
}

std::vector<InputColor> readAllColors(const GivenColors& given) {
    std::vector<InputColor> colors;
    if (!given.values.empty()) {
        colors = colorsOfArguments(given.values, given.kind);
    }
    if (!given.input.empty()) {
        auto more = readTable(given);
        std::move(more.begin(), more.end(), std::back_inserter(colors));
    }
    return checked(std::move(colors), given);
}

void checkViewing(const std::vector<InputColor>& colors, InputKind kind, const Viewing& wanted) {
    for (const InputColor& color : colors) {
        if (kind != InputKind::spectrum && color.viewing &&
            viewingName(*color.viewing) != viewingName(wanted)) {
            throw Failure("'" + color.name + "' is given for " + viewingName(*color.viewing) +
                              ", not for " + viewingName(wanted),
                          std::string("add --illuminant ") +
                              illuminantName(color.viewing->illuminant) + " --observer " +
                              std::to_string(observerDegrees(color.viewing->observer)));
        }
    }
}

InputColor firstColorIn(const GivenColors& given) {
    const auto colors = checked(readTable(given), given);
    if (colors.empty()) {
        throw Failure(given.input + " holds no colours");
    }
    return colors.front();
}

}  // namespace cqtool

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <ostream>
#include <sstream>

#include "colour/ColorInput.h"
#include "commands/Commands.h"
#include "commands/ConvertedColors.h"
#include "commands/Options.h"
#include "Failure.h"
#include "system/Files.h"

namespace cqtool {
namespace {

struct ColorOptions {
    InputKind from = InputKind::spectrum;
    std::vector<const SpaceInfo*> to{&colorSpace(ColorSpaceLab)};
    std::vector<std::int32_t> illuminants{IlluminantD65};
    std::vector<std::int32_t> observers{Observer10Degree};
    std::string input;
    std::vector<std::string> values;
    bool isPercent = false;
    std::string format = "table";
    OutputOptions output;
};

std::vector<InputColor> readTable(const ColorOptions& options, Interrupt& interrupt) {
    if (options.input == "-") {
        // Reading goes on after a signal; there is nothing here to put in order first.
        const auto end =
            interrupt.onInterrupt([] { std::_Exit(static_cast<int>(ExitStatus::interrupted)); });
        const std::string source = "standard input";
        return colorsOfTable(readCsv(std::cin, source), options.from, source);
    }
    std::istringstream content(readFile(options.input));
    return colorsOfTable(readCsv(content, options.input), options.from, options.input);
}

std::vector<InputColor> readColors(const ColorOptions& options, Interrupt& interrupt) {
    if (options.input.empty() == options.values.empty()) {
        throw UsageError(
            options.input.empty()
                ? "give the colours: a file with --input FILE, '-' for standard input, "
                  "or numbers on the command line"
                : "give either --input or numbers on the command line, not both");
    }
    auto colors = options.input.empty() ? colorsOfArguments(options.values, options.from)
                                        : readTable(options, interrupt);
    if (options.from == InputKind::spectrum) {
        if (options.isPercent) {
            convertFromPercent(colors);
        }
        checkReflectances(colors);
    } else if (options.isPercent) {
        throw UsageError("--percent is for spectra");
    }
    return colors;
}

/// The spaces of these names, each once; "all" stands for all of them.
std::vector<const SpaceInfo*> spacesNamed(const std::vector<std::string>& names) {
    std::vector<const SpaceInfo*> spaces;
    const auto add = [&spaces](const SpaceInfo& space) {
        if (std::find(spaces.begin(), spaces.end(), &space) == spaces.end()) {
            spaces.push_back(&space);
        }
    };
    for (const std::string& name : names) {
        if (name == "all") {
            std::for_each(colorSpaces().begin(), colorSpaces().end(), add);
        } else {
            add(colorSpaceNamed(name));
        }
    }
    return spaces;
}

std::vector<Viewing> viewingsOf(const ColorOptions& options) {
    std::vector<Viewing> viewings;
    for (const std::int32_t illuminant : options.illuminants) {
        for (const std::int32_t observer : options.observers) {
            viewings.push_back({illuminant, observer});
        }
    }
    return viewings;
}

/// XYZ and Lab values are taken for what their table says, or for nothing.
void checkViewing(const std::vector<InputColor>& colors, const Viewing& wanted) {
    for (const InputColor& color : colors) {
        if (color.viewing && viewingName(*color.viewing) != viewingName(wanted)) {
            throw Failure("'" + color.name + "' is given for " + viewingName(*color.viewing) +
                              ", not for " + viewingName(wanted),
                          std::string("add --illuminant ") +
                              illuminantName(color.viewing->illuminant) + " --observer " +
                              std::to_string(observerDegrees(color.viewing->observer)));
        }
    }
}

void runColor(const ColorOptions& options, const Environment& environment) {
    const auto viewings = viewingsOf(options);
    if (options.from != InputKind::spectrum && viewings.size() > 1) {
        throw UsageError(
            "XYZ and Lab values belong to one illuminant and one observer; only spectra can be "
            "computed for several");
    }
    const auto given = readColors(options, environment.interrupt);
    if (options.from != InputKind::spectrum) {
        checkViewing(given, viewings.front());
    }
    const auto colors = convert(given, options.from, options.to, viewings);
    if (options.output.json || options.format == "json") {
        environment.out << jsonOf(colors, options.to);
    } else if (options.format == "csv") {
        environment.out << csvOf(colors, options.to);
    } else {
        environment.out << tableOf(colors, options.to, options.output.palette());
    }
}

/// Adds an option for several values, each named by a text.
template <typename Value, typename Function>
void addNames(CommandLine& line, const OptionText& text, std::vector<Value>& values,
              Function valueOf) {
    line.addList(text, [&values, valueOf](const std::vector<std::string>& names) {
        values.clear();
        std::transform(names.begin(), names.end(), std::back_inserter(values), valueOf);
    });
}

}  // namespace

void addColor(Program& program, const Environment& environment) {
    CommandLine line =
        program.add("color", "Compute colours from spectra, XYZ or Lab; needs no instrument");
    const auto options = std::make_shared<ColorOptions>();
    addNamed(line,
             {.name = "--from",
              .valueName = "spectrum|xyz|lab",
              .description = "What the numbers are; a spectrum is 31 reflectances, 400 to 700 nm",
              .isRequired = true},
             options->from, inputKindNamed);
    line.addList(
        {"--to", "NAMES",
         "Colour spaces, separated by commas: " + colorSpaceNames() + ", or all (default lab)"},
        [options](const auto& names) { options->to = spacesNamed(names); });
    addNames(
        line,
        {"--illuminant", "NAMES",
         "Illuminants, separated by commas: D50, D55, D65, D75, A, C, F1 to F12 (default D65)"},
        options->illuminants, illuminantNamed);
    addNames(line,
             {"--observer", "DEGREES",
              "Standard observers in degrees, separated by commas: 2, 10 (default 10)"},
             options->observers, observerNamed);
    line.addOption({"--input", "FILE", "Table of colours, one per line; '-' reads standard input"},
                   options->input);
    line.addArguments({"values", "NUMBERS", "The colour values, instead of --input"},
                      options->values);
    line.addFlag({"--percent", "", "The spectra are in percent"}, options->isPercent);
    line.addChoice({"--format", "table|csv|json", "Output format (default table)"},
                   options->format);
    addOptions(line, options->output);
    line.setExamples(
        "Examples:\n"
        "  cq color --from lab 50 -20 30 --to xyz,srgb --illuminant D50 --observer 2\n"
        "  cq color --from spectrum --input spectra.csv --illuminant D65,A,F11\n"
        "  cq color --from xyz --to all --format csv --input - < colours.txt");
    line.setAction([options, environment] { runColor(*options, environment); });
}

}  // namespace cqtool

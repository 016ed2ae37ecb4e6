#include <algorithm>
#include <memory>
#include <ostream>

#include "commands/Commands.h"
#include "commands/ConvertedColors.h"
#include "commands/GivenColors.h"
#include "commands/Options.h"
#include "Failure.h"

namespace cqtool {
namespace {

struct ColorOptions {
    GivenColors given;
    std::vector<const SpaceInfo*> to{&colorSpace(ColorSpaceLab)};
    std::vector<std::int32_t> illuminants{IlluminantD65};
    std::vector<std::int32_t> observers{Observer10Degree};
    FigureRequest figures;
    std::string strengthFile;
    std::string metamerismFile;
    std::string format = "table";
    OutputOptions output;
};

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

/// The spectrum that a file begins with.
Spectrum standardIn(const std::string& file, bool isPercent) {
    GivenColors given;
    given.input = file;
    given.isPercent = isPercent;
    return spectrumOf(firstColorIn(given));
}

/// With the standards read.
FigureRequest figuresFor(const ColorOptions& options) {
    FigureRequest request = options.figures;
    if (options.strengthFile.empty() && options.metamerismFile.empty()) {
        return request;
    }
    if (options.given.kind != InputKind::spectrum) {
        throw UsageError("strength and metamerism are those of spectra: --from spectrum");
    }
    if (!options.strengthFile.empty()) {
        request.strengthStandard = standardIn(options.strengthFile, options.given.isPercent);
    }
    if (!options.metamerismFile.empty()) {
        if (options.illuminants.size() < 2) {
            throw UsageError(
                "metamerism needs the reference illuminant and those to test with, as in "
                "--illuminant D65,A,F11");
        }
        request.metamerismStandard = standardIn(options.metamerismFile, options.given.isPercent);
    }
    return request;
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

void addFigureOptions(CommandLine& line, ColorOptions& options) {
    addNames(line,
             {"--index", "NAMES", "Indices of white, several with commas: " + colorIndexNames()},
             options.figures.indices, colorIndexNamed);
    line.addOption({"--strength-against", "FILE",
                    "Give the colour strength in percent of the first spectrum in this file, by "
                    "each method"},
                   options.strengthFile);
    line.addOption({"--metamerism-against", "FILE",
                    "Give the metamerism index with the first spectrum in this file, for a change "
                    "from the first illuminant to each other one"},
                   options.metamerismFile);
    addFormulaOption(line, options.figures.formula);
}

void runColor(const ColorOptions& options, const Environment& environment) {
    const auto viewings = viewingsOf(options);
    const InputKind from = options.given.kind;
    if (from != InputKind::spectrum && viewings.size() > 1) {
        throw UsageError(
            "XYZ and Lab values belong to one illuminant and one observer; only spectra can be "
            "computed for several");
    }
    const FigureRequest figures = figuresFor(options);
    const auto given = readColors(options.given);
    checkViewing(given, from, viewings.front());
    auto colors = convert(given, from, options.to, viewings);
    for (std::size_t i = 0; i < colors.size(); ++i) {
        colors[i].figures = figuresOf(given[i / viewings.size()], from, figures, viewings.front(),
                                      colors[i].viewing);
    }
    if (options.output.json || options.format == "json") {
        environment.out << jsonOf(colors, options.to);
    } else if (options.format == "csv") {
        environment.out << csvOf(colors, options.to);
    } else {
        environment.out << tableOf(colors, options.to, options.output.palette());
    }
}

}  // namespace

void addColor(Program& program, const Environment& environment) {
    CommandLine line =
        program.add("color", "Compute colours from spectra, XYZ or Lab; needs no instrument");
    const auto options = std::make_shared<ColorOptions>();
    addKindOption(line, options->given.kind);
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
    addOptions(line, options->given);
    addFigureOptions(line, *options);
    line.addChoice({"--format", "table|csv|json", "Output format (default table)"},
                   options->format);
    addOptions(line, options->output);
    line.setExamples(
        "Examples:\n"
        "  cq color --from lab 50 -20 30 --to xyz,srgb --illuminant D50 --observer 2\n"
        "  cq color --from spectrum --input spectra.csv --illuminant D65,A,F11\n"
        "  cq color --from xyz --to all --format csv --input - < colours.txt\n"
        "  cq color --from xyz 84.6 88.3 104.1 --to yxy --index whiteness-cie,tint-cie\n"
        "  cq color --from spectrum --input trials.csv --strength-against standard.csv");
    line.setAction([options, environment] { runColor(*options, environment); });
}

}  // namespace cqtool

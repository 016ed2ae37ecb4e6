#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <ostream>

#include "colour/ColorJson.h"
#include "commands/Commands.h"
#include "commands/Options.h"
#include "exchange/Exchange.h"
#include "Failure.h"
#include "report/RecordReport.h"
#include "system/Files.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr double kMostTolerance = 100;
constexpr std::uint32_t kMostIndex = 0xFFFFFFFE;
/// More than anybody looks at on a page, and than browsers show gladly.
constexpr std::size_t kMostMeasurements = 20'000;

struct ReportOptions {
    std::string file;
    std::string format;
    std::string standard;
    std::string title;
    std::string report;
    std::string recordLayout;
    bool isPercent = false;
    std::optional<std::int32_t> illuminant;
    std::optional<std::int32_t> observer;
    Judgement judgement;
    OutputOptions output;
};

/// Computes the colours of files for the report.
class Reader {
  public:
    explicit Reader(const ReportOptions& options)
        : options_(options), reading_{options.isPercent, loadRecordLayout(options.recordLayout)} {}

    /// \param format as exchangeFormatFor() takes it.
    /// \param viewing illuminant and observer; nothing: those of the file.
    RecordSet read(const std::string& file, const std::string& format,
                   const std::optional<Viewing>& viewing) const {
        RecordSet set = load(file, exchangeFormatFor(file, format));
        if (set.entries.empty()) {
            throw Failure(file + " holds no measurements");
        }
        Viewing wanted = viewing.value_or(set.viewing);
        if (!viewing) {
            wanted.illuminant = options_.illuminant.value_or(wanted.illuminant);
            wanted.observer = options_.observer.value_or(wanted.observer);
        }
        for (RecordEntry& entry : set.entries) {
            color(entry, set.viewing, wanted, file);
        }
        set.viewing = wanted;
        return set;
    }

  private:
    RecordSet load(const std::string& file, ExchangeFormat format) const {
        const std::string content = readFile(file);
        // In lines there are more than measurements, but seen before memory is taken for them.
        const bool isTable = format == ExchangeFormat::csv || format == ExchangeFormat::cgats;
        const auto lines = std::count(content.begin(), content.end(), '\n');
        const bool hasManyLines =
            isTable && static_cast<std::size_t>(lines) > 2 * kMostMeasurements;
        RecordSet set;
        if (!hasManyLines) {
            set = parsedRecords(content, format, sourceName(file), reading_);
        }
        if (hasManyLines || set.entries.size() > kMostMeasurements) {
            throw Failure(file + " holds more than " + std::to_string(kMostMeasurements) +
                              " measurements, the most that a report can show",
                          "divide the file");
        }
        return set;
    }

    void color(RecordEntry& entry, const Viewing& given, const Viewing& wanted,
               const std::string& file) const {
        std::string problem = "it has none";
        if (!entry.spectrum && entry.record) {
            const ReadSpectrum read = readSpectrum(*entry.record, reading_.layout);
            entry.spectrum = read.spectrum;
            problem = read.problem;
        }
        if (entry.spectrum) {
            entry.lab = colorOfSpectrum(*entry.spectrum, ColorSpaceLab, wanted);
        } else if (!entry.lab) {
            throw Failure(file + ": no colour can be computed for '" + entry.name +
                          "': " + problem);
        } else if (viewingName(given) != viewingName(wanted)) {
            throw Failure(file + ": '" + entry.name + "' has L*, a*, b* for " + viewingName(given) +
                              " and no spectrum to compute them for " + viewingName(wanted),
                          "leave --illuminant and --observer out, or give files with spectra");
        }
    }

    const ReportOptions& options_;
    ReadOptions reading_;
};

bool isNumber(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

/// The entry with this index, a standard if there is one, and all the others as its trials.
std::vector<TrialGroup> groupsAround(std::uint32_t index, const RecordSet& set,
                                     const std::string& file) {
    const auto begin = set.entries.begin();
    const auto end = set.entries.end();
    auto found = std::find_if(begin, end, [index](const RecordEntry& entry) {
        return entry.index == index && entry.isStandard;
    });
    if (found == end) {
        found = std::find_if(begin, end,
                             [index](const RecordEntry& entry) { return entry.index == index; });
    }
    if (found == end) {
        throw Failure(file + " has no measurement with the index " + std::to_string(index),
                      "see the indices in the file's first column, or member \"index\"");
    }
    TrialGroup group{*found, {begin, found}};
    group.trials.insert(group.trials.end(), found + 1, end);
    return {group};
}

std::vector<TrialGroup> groupsFor(const ReportOptions& options, const Reader& reader,
                                  const RecordSet& set) {
    if (options.standard.empty()) {
        return groupsOf(set);
    }
    if (isNumber(options.standard)) {
        return groupsAround(wholeNumberOf(options.standard, "--standard", 0, kMostIndex), set,
                            options.file);
    }
    const RecordSet other = reader.read(options.standard, {}, set.viewing);
    std::vector<RecordEntry> standards;
    std::copy_if(other.entries.begin(), other.entries.end(), std::back_inserter(standards),
                 [](const RecordEntry& entry) { return entry.isStandard; });
    return groupsAgainst(standards.empty() ? other.entries : standards, set, options.standard);
}

Json trialJson(const TrialGroup& group, const RecordEntry& trial, const Judgement& judgement) {
    Json json{{"index", trial.index}, {"name", trial.name}, {"standard", group.standard->name}};
    const ColorData& standard = *group.standard->lab;
    json["deltaEab"] = deltaEab(standard, *trial.lab);
    json["deltaE00"] = difference({CqDeltaE2000, {}}, standard, *trial.lab);
    json["deltaE"] = difference(judgement.formula, standard, *trial.lab);
    if (judgement.tolerance) {
        json["passed"] = judgement.isPassed(difference(judgement.formula, standard, *trial.lab));
    }
    return json;
}

Json jsonOf(const std::vector<TrialGroup>& groups, const Judgement& judgement,
            const TrialSummary& summary) {
    Json trials = Json::array();
    for (const TrialGroup& group : groups) {
        for (const RecordEntry& trial : group.trials) {
            if (group.standard) {
                trials.push_back(trialJson(group, trial, judgement));
            }
        }
    }
    Json json{{"formula", nameOf(judgement.formula)}, {"trials", std::move(trials)}};
    json["mean"] = summary.trials == 0 ? Json() : Json(summary.mean);
    json["largest"] = summary.trials == 0 ? Json() : Json(summary.most);
    if (judgement.tolerance) {
        json["tolerance"] = *judgement.tolerance;
        json["passed"] = summary.passed;
    }
    return json;
}

std::string textOf(const Judgement& judgement, const TrialSummary& summary) {
    const std::string name = symbolOf(judgement.formula);
    if (summary.trials == 0) {
        return "no trials with a standard to compare with\n";
    }
    std::string text;
    if (judgement.tolerance) {
        text += std::to_string(summary.passed) + " of " + counted(summary.trials, "trials") +
                " within " + name + " " + digitsOf(*judgement.tolerance) + "\n";
    }
    return text + name + ": mean " + fixed(summary.mean, 2) + ", largest " +
           judgement.textOf(summary.most) + " (" + shown(summary.mostName) + ")\n";
}

void runReport(const ReportOptions& options, const Environment& environment) {
    const std::string standards = isNumber(options.standard) ? std::string() : options.standard;
    checkOutput(options.report, options.output, {options.file, standards, options.recordLayout});
    const ExchangeFormat pageFormat = pageFormatFor(options.report);
    const Reader reader(options);
    RecordSet set = reader.read(options.file, options.format, std::nullopt);
    if (!options.title.empty()) {
        set.title = options.title;
    } else if (set.title.empty()) {
        set.title = std::filesystem::path(sourceName(options.file)).filename().string();
    }
    const auto groups = groupsFor(options, reader, set);
    const TrialSummary summary = summaryOf(groups, options.judgement);
    if (options.judgement.tolerance && summary.trials == 0) {
        throw Failure(options.file + " has no trials with a standard to judge them by",
                      "name the standard with --standard, an index or another file");
    }
    Json json = jsonOf(groups, options.judgement, summary);
    writeFile(options.report, pageFormat == ExchangeFormat::json
                                  ? pageOfJson(json)
                                  : recordReport(set, groups, options.judgement));
    const std::string path = std::filesystem::absolute(options.report).string();
    if (options.output.json) {
        json["report"] = path;
        environment.out << pageOfJson(json);
        return;
    }
    environment.besides(options.report) << textOf(options.judgement, summary);
    if (!isStandardOutput(options.report)) {
        environment.out << "Report: " << shown(path) << '\n';
    }
}

}  // namespace

void addReport(Program& program, const Environment& environment) {
    CommandLine line = program.add(
        "report", "Write an HTML page of colours and differences from an exported file");
    const auto options = std::make_shared<ReportOptions>();
    line.addOption({.name = "file",
                    .valueName = "FILE",
                    .description = "Measurements exported by cq",
                    .isRequired = true},
                   options->file);
    line.addOption(
        {"--format", "csv|json|cgats|raw", "The file's format (default: by its extension)"},
        options->format);
    line.addOption({"--standard", "INDEX|FILE",
                    "What to compare with: the measurement with this index, or the standards of "
                    "another file (default: each trial with the preceding standard)"},
                   options->standard);
    addNamed(line, {"--tolerance", "DELTA", "The largest difference that passes"},
             options->judgement.tolerance, [](const std::string& text) {
                 return numberOf(text, "--tolerance", 0.001, kMostTolerance);
             });
    addFormulaOption(line, options->judgement.formula);
    line.addOption(
        {.name = "--output",
         .valueName = "FILE",
         .description = "The report (.html) or its numbers (.json); '-' for standard output",
         .isRequired = true},
        options->report);
    line.addOption({"--title", "TEXT", "The report's title"}, options->title);
    line.addFlag({"--percent", "", "The files' spectra are in percent"}, options->isPercent);
    addNamed(line,
             {"--illuminant", "NAME", "Illuminant to compute for (default: the file's)", "Colour"},
             options->illuminant, illuminantNamed);
    addNamed(line, {"--observer", "2|10", "Observer in degrees (default: the file's)", "Colour"},
             options->observer, observerNamed);
    addRecordLayoutOption(line, options->recordLayout);
    addOptions(line, options->output);
    line.setExamples(
        "Examples:\n"
        "  cq report batch.csv --standard 0 --tolerance 1 --output batch.html\n"
        "  cq report batch.json --standard master.json --tolerance 0.8 --formula 2000 \\\n"
        "    --output batch.html");
    line.setAction([options, environment] { runReport(*options, environment); });
}

}  // namespace cqtool

#include <algorithm>
#include <filesystem>
#include <memory>
#include <ostream>

#include "commands/Commands.h"
#include "commands/Options.h"
#include "commands/ReportInput.h"
#include "exchange/Exchange.h"
#include "exchange/Formats.h"
#include "Failure.h"
#include "report/JobPage.h"
#include "report/PdfPrinter.h"
#include "report/RecordReport.h"
#include "report/ReportJson.h"
#include "report/Statistics.h"
#include "system/Files.h"
#include "text/JsonObject.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

struct ReportOptions {
    ReportInput input;
    std::string report;
    bool hasSpectra = false;
    bool checks = false;
    WriteOptions writing;
    OutputOptions output;
};

/// A report's own form besides those of exchanged measurements.
enum class ReportForm { page, pdf, records };

ReportForm formOf(const std::string& file) {
    const std::string extension = lowerCase(std::filesystem::path(file).extension().string());
    if (extension == ".pdf") {
        return ReportForm::pdf;
    }
    if (extension.empty() && isStream(file)) {
        return ReportForm::page;
    }
    try {
        return exchangeFormatFor(file) == ExchangeFormat::html ? ReportForm::page
                                                               : ReportForm::records;
    } catch (const UsageError&) {
        throw UsageError("the report " + file +
                         " must be named .html or .pdf, .json for its numbers, or for its "
                         "measurements by one of the formats " +
                         exchangeFormatNames());
    }
}

/// Measurements as cq exports them; JSON with the report's numbers besides, which reading skips.
std::string recordsOf(const Job& job, const JsonObject& numbers, ExchangeFormat format,
                      const WriteOptions& writing) {
    const RecordSet set = recordSetOf(job);
    if (format != ExchangeFormat::json) {
        return writtenRecords(set, format, writing);
    }
    JsonObject json = jsonOf(set);
    json.update(numbers);
    return pageOfJson(json);
}

std::string textOf(const Job& job, const std::vector<ReportTrial>& trials,
                   const TrialCounts& counts, const DifferenceFormula& formula) {
    if (counts.counted == 0) {
        return "no trials with a standard to compare with\n";
    }
    std::string text;
    if (!job.limits.empty()) {
        text += std::to_string(counts.passed + counts.warned) + " of " +
                counted(counts.counted, "trials") + " within " +
                (job.limits.size() == 1 ? symbolsOf(job.limits.front()) : "the tolerances");
        text += counts.warned == 0 ? "" : ", " + std::to_string(counts.warned) + " with a warning";
        text +=
            counts.notJudged == 0 ? "" : "; " + std::to_string(counts.notJudged) + " not judged";
        text += '\n';
    }
    const LeadingQuantity leading = leadingQuantity(job, formula);
    const QuantityStatistics all = statisticsOf(leading.quantity, leading.illuminant, trials);
    return text + symbolOf(leading.quantity) + ": mean " +
           valueText(leading.quantity, all.values.mean) + ", largest " + all.largestText + " (" +
           shown(all.largestName) + ")\n";
}

/// For --check, once all has been told.
void checkTrials(const std::vector<ReportTrial>& trials, const TrialCounts& counts) {
    if (counts.failed > 0) {
        throw OutOfTolerance{};
    }
    const auto open = std::find_if(trials.begin(), trials.end(), [](const ReportTrial& trial) {
        return trial.isCounted && !trial.problem.empty();
    });
    if (open != trials.end()) {
        throw Failure("not all trials could be judged: " + open->problem);
    }
}

void runReport(const ReportOptions& options, const Environment& environment) {
    const ReportInput& input = options.input;
    checkOutput(
        options.report, options.output,
        {input.file, input.hasStandardFile() ? input.standard : std::string(), input.recordLayout});
    const ReportForm form = formOf(options.report);
    const Job job = jobFor(input, environment.notes);
    const auto groups = reportGroups(job);
    const auto trials = allTrials(groups);
    const TrialCounts counts = countsOf(job, trials);
    const ReportView view{input.formula, options.hasSpectra};
    if (counts.counted == 0 && (!input.tolerances.empty() || !input.warnings.empty())) {
        throw Failure(input.file + " has no trials with a standard to judge them by",
                      "name the standard with --standard, an index or another file");
    }
    if (options.checks && job.limits.empty()) {
        throw UsageError("--check needs tolerances: give --tolerance, or a job that has some");
    }
    JsonObject numbers = reportJson(job, groups, view);
    if (form == ReportForm::records) {
        const ExchangeFormat format = exchangeFormatFor(options.report);
        writeFile(options.report, recordsOf(job, numbers, format, options.writing));
        if (!job.limits.empty() && format != ExchangeFormat::json) {
            environment.notes << "cq: " << shown(options.report)
                              << " holds the measurements, not the tolerances; .json holds both\n";
        }
    } else {
        const std::string page = jobPage(job, groups, view);
        writeFile(options.report,
                  form == ReportForm::pdf ? pdfOf(page, environment.interrupt) : page);
    }
    const std::string path = std::filesystem::absolute(options.report).string();
    if (options.output.json) {
        numbers["report"] = path;
        environment.out << pageOfJson(numbers);
    } else {
        environment.besides(options.report) << textOf(job, trials, counts, input.formula);
        if (!isStandardOutput(options.report)) {
            environment.out << "Report: " << shown(path) << '\n';
        }
    }
    if (options.checks) {
        checkTrials(trials, counts);
    }
}

void addLimitOptions(CommandLine& line, ReportInput& input) {
    line.addList({"--tolerance", "LIMIT",
                  "What passes: the largest difference by --formula, or limits as in dE00<=1, "
                  "|dL|<=0.6 (default: the job's)"},
                 [&input](const std::vector<std::string>& texts) { input.tolerances = texts; });
    line.addList({"--warn", "LIMIT", "The same for what passes with a warning"},
                 [&input](const std::vector<std::string>& texts) { input.warnings = texts; });
    addFormulaOption(line, input.formula);
    line.addList({"--illuminants", "NAMES",
                  "Illuminants to compare under, the first one of reference (default: the file's)",
                  "Colour"},
                 [&input](const std::vector<std::string>& names) {
                     input.illuminants.clear();
                     std::transform(names.begin(), names.end(),
                                    std::back_inserter(input.illuminants), illuminantNamed);
                 });
    addNamed(line, {"--illuminant", "NAME", "A single illuminant", "Colour"}, input.illuminants,
             [](const std::string& name) { return std::vector{illuminantNamed(name)}; });
    line.exclude("--illuminant", "--illuminants");
    addNamed(line, {"--observer", "2|10", "Observer in degrees (default: the file's)", "Colour"},
             input.observer, observerNamed);
}

}  // namespace

void addReport(Program& program, const Environment& environment) {
    CommandLine line = program.add(
        "report", "Write a page of colours, differences and verdicts from a job or exported file");
    const auto options = std::make_shared<ReportOptions>();
    ReportInput& input = options->input;
    line.addOption({.name = "file",
                    .valueName = "FILE",
                    .description = "A job, or measurements exported by cq or another program",
                    .isRequired = true},
                   input.file);
    line.addOption({"--format", "NAME", "The file's format (default: by its extension)"},
                   input.format);
    line.addOption({"--standard", "INDEX|FILE",
                    "What to compare an exported file with: its measurement with this index, or "
                    "the standards of another file (default: each trial with the preceding "
                    "standard)"},
                   input.standard);
    line.addOption({.name = "--output",
                    .valueName = "FILE",
                    .description = "The report: .html, .pdf; .json with its numbers; or its "
                                   "measurements, by the format's extension; '-' for standard "
                                   "output",
                    .isRequired = true},
                   options->report);
    addDecimalOption(line, options->writing);
    line.addOption({"--title", "TEXT", "The report's title"}, input.title);
    line.addFlag({"--spectra", "", "Also show the spectra as tables"}, options->hasSpectra);
    line.addFlag({"--check", "", "Exit with 3 if a trial fails"}, options->checks);
    line.addFlag({"--percent", "", "The files' spectra are in percent"}, input.isPercent);
    addLimitOptions(line, input);
    addRecordLayoutOption(line, input.recordLayout);
    addOptions(line, options->output);
    line.setExamples(
        "A PDF is printed by a Chromium, Chrome or Edge that is installed.\n\n"
        "Examples:\n"
        "  cq report lot12.cqjob --output lot12.pdf\n"
        "  cq report batch.csv --standard 0 --tolerance 1 --output batch.html\n"
        "  cq report batch.json --standard master.json --tolerance 'dE00<=0.8' \\\n"
        "    --illuminants D65,A,F11 --output batch.html --check");
    line.setAction([options, environment] { runReport(*options, environment); });
}

}  // namespace cqtool

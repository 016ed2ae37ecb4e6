#include <ctime>
#include <filesystem>
#include <memory>
#include <ostream>

#include "color/ColorJson.h"
#include "commands/Commands.h"
#include "commands/Options.h"
#include "exchange/Exchange.h"
#include "Failure.h"
#include "instrument/RecordLayout.h"
#include "instrument/Records.h"
#include "report/ChartReport.h"
#include "system/Files.h"
#include "text/Numbers.h"
#include "text/Text.h"
#include "text/TextTable.h"

namespace cqtool {
namespace {

constexpr std::size_t kHalfSwatchWidth = 4;
constexpr const char* kMeasureTimeOption = "--measure-time";

struct DemoOptions {
    std::string report;
    std::string recordLayout;
    Viewing viewing;
    ConnectionOptions connection;
    OutputOptions output;
};

/// A virtual instrument or adapter unless a port is named, and a fast one.
ConnectionOptions connectionFor(ConnectionOptions options) {
    options.useVirtual = options.port.empty() && options.adapter.empty();
    std::string given = options.virtualOptions.value_or("");
    if (given.find(kMeasureTimeOption) == std::string::npos) {
        given.append(" ").append(kMeasureTimeOption).append(" 20");
    }
    options.virtualOptions = given;
    return options;
}

std::string localTime() {
    const std::time_t now = std::time(nullptr);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", std::localtime(&now));
    return text;
}

/// Shows a person the progress of the demonstration, and a program nothing until its end.
class Progress {
  public:
    Progress(const DemoOptions& options, const Environment& environment)
        : out_(environment.besides(options.report)),
          palette_(options.output.palette()),
          isSilent_(options.output.json) {
        using Align = TextTable::Align;
        std::vector<TextTable::Column> columns{{"", Align::right, 2}, {"patch", Align::left, 21}};
        if (palette_.hasColors()) {
            columns.push_back({"measured|chart", Align::left, 2 * kHalfSwatchWidth});
        }
        columns.insert(columns.end(), {{"sRGB", Align::left, 7},
                                       {"L*", Align::right, 6},
                                       {"a*", Align::right, 6},
                                       {"b*", Align::right, 6},
                                       {"ΔE chart", Align::right, 5},
                                       {"ΔE trial", Align::right, 5}});
        table_ = std::make_unique<TextTable>(std::move(columns));
    }

    void say(const std::string& line) {
        if (!isSilent_) {
            out_ << line << std::endl;
        }
    }

    void head() { say("\n" + palette_.faint(table_->titles())); }

    void row(std::size_t number, const PatchResult& patch) {
        TextTable::Row row{std::to_string(number), patch.name};
        if (palette_.hasColors()) {
            row.push_back(palette_.swatch(patch.standardRgb, kHalfSwatchWidth) +
                          palette_.swatch(patch.referenceRgb, kHalfSwatchWidth));
        }
        row.push_back(hexColor(patch.standardRgb));
        for (const float value : patch.standardLab.values) {
            row.push_back(fixed(value, 2));
        }
        row.push_back(fixed(patch.deltaFromChart, 2));
        row.push_back(fixed(patch.deltaFromStandard, 2));
        say(table_->line(row));
    }

    void summary(const std::vector<PatchResult>& results) {
        const auto sentence = [&results](const char* what, double PatchResult::*difference) {
            const Differences differences = differencesOf(results, difference);
            return std::string(what) + ": mean " + fixed(differences.mean, 2) + ", largest " +
                   fixed(differences.most, 2) + " (" + differences.mostName + ")";
        };
        say("\n" + sentence("ΔE*ab from the chart's values", &PatchResult::deltaFromChart));
        say(sentence("ΔE*ab of the trials from their standards", &PatchResult::deltaFromStandard));
    }

  private:
    std::ostream& out_;
    Palette palette_;
    bool isSilent_;
    std::unique_ptr<TextTable> table_;
};

Spectrum measureSpectrum(const Connection& connection, bool isStandard,
                         const RecordLayout& layout) {
    const ReadSpectrum read = readSpectrum(connection.measure(isStandard), layout);
    if (!read.spectrum) {
        throw Failure(read.problem, "give the instrument's own --record-layout");
    }
    return *read.spectrum;
}

std::vector<PatchResult> measureChart(const Connection& connection, const RecordLayout& layout,
                                      const Viewing& viewing, Progress& progress) {
    std::vector<PatchResult> results;
    progress.head();
    for (const ChartPatch& patch : kChartPatches) {
        const Spectrum standard = measureSpectrum(connection, true, layout);
        const Spectrum trial = measureSpectrum(connection, false, layout);
        results.emplace_back(patch, standard, trial, viewing);
        progress.row(results.size(), results.back());
    }
    progress.summary(results);
    return results;
}

JsonObject jsonOf(const std::vector<PatchResult>& results, const ReportOrigin& origin,
                  const std::string& report) {
    const SpaceInfo& lab = colorSpace(ColorSpaceLab);
    JsonList patches;
    for (const PatchResult& patch : results) {
        patches.push_back({{"name", patch.name},
                           {"standard", colorJson(patch.standardLab, lab)},
                           {"trial", colorJson(patch.trialLab, lab)},
                           {"chart", colorJson(patch.referenceLab, lab)},
                           {"hex", hexColor(patch.standardRgb)},
                           {"deltaEabFromChart", patch.deltaFromChart},
                           {"deltaEabFromStandard", patch.deltaFromStandard},
                           {"spectrum", spectrumJson(patch.standard)}});
    }
    JsonObject json{{"port", origin.port},
                    {"instrument", origin.instrument},
                    {"illuminant", illuminantName(origin.viewing.illuminant)},
                    {"observer", observerDegrees(origin.viewing.observer)},
                    {"patches", std::move(patches)}};
    if (!report.empty()) {
        json["report"] = report;
    }
    return json;
}

std::string writeReport(const std::string& file, const std::vector<PatchResult>& results,
                        const ReportOrigin& origin) {
    const std::filesystem::path path(file);
    std::error_code ignored;  // a failure shows when the file is written
    std::filesystem::create_directories(path.parent_path(), ignored);
    writeFile(path, pageFormatFor(path) == ExchangeFormat::json
                        ? pageOfJson(jsonOf(results, origin, {}))
                        : chartReport(results, origin));
    return std::filesystem::absolute(path).lexically_normal().string();
}

void runDemo(const DemoOptions& options, const Environment& environment) {
    if (!options.report.empty()) {
        checkOutput(options.report, options.output, {options.recordLayout});
        pageFormatFor(options.report);
    }
    const RecordLayout layout = loadRecordLayout(options.recordLayout);
    Progress progress(options, environment);
    const Connection connection(connectionFor(options.connection), environment.interrupt);

    const CqDeviceInfo info = connection.deviceInfo();
    const ReportOrigin origin{instrumentName(info), connection.portName(), localTime(),
                              options.viewing};
    progress.say((connection.isWireless() ? "adapter     " : "port        ") + origin.port);
    progress.say("instrument  " + origin.instrument);
    const std::string capacity =
        connection.isWireless() ? std::string() : " of " + std::to_string(standardCapacity(info));
    progress.say("stored      " + std::to_string(connection.status().totalStandards) + capacity +
                 " standards");
    connection.calibrateWhite();
    connection.calibrateBlack();
    progress.say("calibrated  white, black");
    progress.say("colours     for " + viewingName(options.viewing));

    const auto results = measureChart(connection, layout, options.viewing, progress);
    const std::string report =
        options.report.empty() ? std::string() : writeReport(options.report, results, origin);
    if (options.output.json) {
        environment.out << pageOfJson(jsonOf(results, origin, report));
    }
    progress.say(report.empty() ? "\nAdd --report FILE for a page with swatches and curves."
                                : "\nReport: " + shown(report));
}

}  // namespace

void addDemo(Program& program, const Environment& environment) {
    CommandLine line = program.add(
        "demo", "Measure a chart of 24 patches with a virtual instrument and show the colours");
    const auto options = std::make_shared<DemoOptions>();
    line.addOption(
        {"--report", "FILE",
         "Write a page with swatches, curves and differences (.html) or its numbers (.json)"},
        options->report);
    addOptions(line, options->viewing);
    addRecordLayoutOption(line, options->recordLayout);
    addOptions(line, options->connection);
    addOptions(line, options->output);
    line.setExamples(
        "Starts a virtual instrument, with --wireless behind a virtual adapter, and measures\n"
        "the patches in order. With --port or --adapter, uses the virtual one on that port.\n\n"
        "Examples:\n"
        "  cq demo\n"
        "  cq demo --wireless\n"
        "  cq demo --report chart.html --illuminant A");
    line.setAction([options, environment] { runDemo(*options, environment); });
}

}  // namespace cqtool

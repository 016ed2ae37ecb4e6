#include <algorithm>
#include <memory>
#include <ostream>
#include <utility>

#include "commands/Commands.h"
#include "commands/Judge.h"
#include "commands/MeasurementSeries.h"
#include "commands/Options.h"
#include "exchange/Exchange.h"
#include "Failure.h"
#include "system/Files.h"
#include "system/Terminal.h"
#include "terminal/SpectrumPlot.h"
#include "terminal/StatusLine.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr std::size_t kPlotColumns = 48;
constexpr std::size_t kPlotRows = 8;
constexpr std::uint32_t kMostInSuccession = 9'999;

struct MeasureOptions {
    std::string kind = "standard";
    std::uint32_t count = 0;    ///< 0: once
    std::uint32_t average = 1;  ///< how many are averaged to one
    std::string recordFile;
    std::string format;
    WriteOptions writing;
    std::string recordLayout;
    JudgeOptions judging;
    ConnectionOptions connection;
    OutputOptions output;
    ViewOptions view;

    bool isSeries() const { return count > 0; }
    bool isAveraged() const { return average > 1; }
    bool isStandard() const { return kind == "standard"; }
    bool isSaved() const { return !recordFile.empty(); }
    ExchangeFormat fileFormat() const { return exchangeFormatFor(recordFile, format); }
    std::string fileOf(std::uint32_t number) const {
        return isSeries() ? numberedFile(recordFile, number, count) : recordFile;
    }
};

/// A measurement, or an average, that has been saved and judged.
struct Taken {
    Measurement measurement;
    std::optional<Average> average;
    Judged judged;
};

/// Measures, saves and shows as the options say.
class Measuring {
  public:
    Measuring(const MeasureOptions& options, const Environment& environment)
        : options_(options),
          environment_(environment),
          out_(environment.besides(options.recordFile)),
          layout_(loadRecordLayout(options.recordLayout)),
          judge_(options.judging, options.view.viewing, layout_, options.isSeries(),
                 environment.notes),
          view_(judge_.viewing(), *options.view.space, layout_),
          palette_(options.output.palette()) {}

    void run() {
        checkFiles();
        if (!options_.isStandard() || !options_.judging.limits.empty()) {
            judge_.requireStandard();
        }
        Connection connection(options_.connection, environment_.interrupt);
        judge_.use(connection);
        if (options_.isSaved() && options_.fileFormat() != ExchangeFormat::raw) {
            saved_ = recordSetOf(connection.deviceInfo(), options_.kind, view_.viewing());
        }
        if (options_.isSeries()) {
            measureSeries(connection);
        } else {
            measureOnce(connection);
        }
        judge_.check();
    }

  private:
    void checkFiles() const {
        if (!options_.isSaved()) {
            return;
        }
        if (options_.isAveraged() && options_.fileFormat() == ExchangeFormat::raw) {
            throw UsageError(
                "an average is no record of the instrument; save it as .csv, .json or "
                ".cgats");
        }
        if (options_.isSeries() && isStream(options_.recordFile)) {
            throw UsageError("--count writes a file for each measurement; " + options_.recordFile +
                             " is none");
        }
        const auto inputs = judge_.inputs();
        for (std::uint32_t number = 1; number <= std::max(options_.count, 1U); ++number) {
            checkOutput(options_.fileOf(number), options_.output,
                        {inputs[0], inputs[1], options_.recordLayout});
        }
    }

    Measurement measureByInstrument(const Connection& connection, const std::string& progress) {
        const StatusLine status(progress);
        return view_.of(connection.measure(options_.isStandard()), options_.isStandard());
    }

    Taken take(const Connection& connection, std::uint32_t number) {
        const std::string progress =
            options_.isSeries()
                ? "measuring " + std::to_string(number) + " of " + std::to_string(options_.count)
                : "measuring";
        if (!options_.isAveraged()) {
            Measurement measurement = measureByInstrument(connection, progress);
            RecordEntry entry = entryOf(*measurement.record, number - 1, options_.isStandard(),
                                        layout_, view_.viewing());
            return saved({std::move(measurement), {}, {}}, std::move(entry), number);
        }
        std::vector<Measurement> measurements;
        for (std::uint32_t i = 1; i <= options_.average; ++i) {
            measurements.push_back(measureByInstrument(
                connection, progress + ", " + std::to_string(i) + " of " +
                                std::to_string(options_.average) + " for the average"));
        }
        Average average = averageOf(measurements, view_);
        Measurement measurement = average.measurement;
        RecordEntry entry = entryOf(measurement, number - 1);
        return saved({std::move(measurement), std::move(average), {}}, std::move(entry), number);
    }

    /// Into the job and the file, before anything is told.
    Taken saved(Taken taken, RecordEntry entry, std::uint32_t number) {
        taken.judged = taken.average ? judge_.take(std::move(entry), options_.average,
                                                   taken.average->mostDeltaEab)
                                     : judge_.take(std::move(entry));
        if (options_.isSaved()) {
            saved_.entries = {taken.judged.entry};
            writeFile(options_.fileOf(number),
                      writtenRecords(saved_, options_.fileFormat(), options_.writing));
        }
        return taken;
    }

    JsonObject jsonOf(const Taken& taken) const {
        requireComparison(taken);
        JsonObject json = view_.json(taken.measurement);
        if (taken.average) {
            json["averaged"] = options_.average;
            json["meanDeltaEabFromAverage"] = taken.average->meanDeltaEab;
            json["largestDeltaEabFromAverage"] = taken.average->mostDeltaEab;
        }
        addJudged(json, taken.judged);
        return json;
    }

    static void requireComparison(const Taken& taken) {
        if (!taken.judged.problem.empty()) {
            throw Failure(
                taken.measurement.spectrum ? taken.judged.problem : taken.measurement.problem,
                "without a colour there is no difference");
        }
    }

    void printTitle(const std::string& port) {
        out_ << palette_.strong(options_.kind) << " on " << port << ", "
             << viewingName(view_.viewing()) << judge_.standardText() << std::endl;
        if (const std::string text = judge_.jobText(); !text.empty()) {
            out_ << text << '\n';
        }
    }

    void printSpectrum(const Spectrum& spectrum) {
        for (const std::string& line : terminalFacts().isTerminal
                                           ? plotSpectrum(spectrum, kPlotColumns, kPlotRows)
                                           : listSpectrum(spectrum)) {
            out_ << line << '\n';
        }
    }

    void printSpread(const Taken& taken) {
        if (taken.average) {
            out_ << "average of " << options_.average << ": ΔE*ab from it mean "
                 << fixed(taken.average->meanDeltaEab, 2) << ", largest "
                 << fixed(taken.average->mostDeltaEab, 2) << '\n';
        }
    }

    void printComparison(const Taken& taken) {
        for (const std::string& line : linesOf(taken.judged, palette_, true)) {
            out_ << line << '\n';
        }
    }

    void measureOnce(const Connection& connection) {
        const Taken taken = take(connection, 1);
        const Measurement& measurement = taken.measurement;
        if (options_.output.json) {
            JsonObject json{{"port", connection.portName()}};
            json.update(jsonOf(taken));
            out_ << pageOfJson(json);
            return;
        }
        printTitle(connection.portName());
        if (taken.judged.job) {
            out_ << palette_.strong(shown(taken.judged.entry.name)) << belonging(taken) << '\n';
        }
        if (!measurement.spectrum) {
            environment_.notes << "cq: " << measurement.problem << '\n';
        } else {
            const bool hasPair = palette_.hasColors() && taken.judged.comparison;
            out_ << (hasPair ? view_.values(measurement) : view_.line(measurement, palette_))
                 << '\n';
            printSpread(taken);
            printComparison(taken);
            if (!taken.judged.job) {
                printSpectrum(*measurement.spectrum);
            }
        }
        requireComparison(taken);
        if (options_.isSaved()) {
            out_ << "record written to " << shown(options_.recordFile) << '\n';
        }
    }

    static std::string belonging(const Taken& taken) {
        return taken.judged.standard.empty() ? std::string()
                                             : " against " + shown(taken.judged.standard);
    }

    void printOneOfSeries(const Taken& taken, std::uint32_t number) {
        const std::size_t width = std::to_string(options_.count).size();
        const std::string digits = std::to_string(number);
        const Measurement& measurement = taken.measurement;
        const auto lines = linesOf(taken.judged, palette_, false);
        out_ << std::string(width - digits.size(), ' ') << digits << "  "
             << (taken.judged.job ? shown(taken.judged.entry.name) + "  " : std::string())
             << (measurement.spectrum ? view_.line(measurement, palette_) : measurement.problem)
             << (lines.size() == 1 ? "  " + lines.front() : std::string()) << '\n';
        for (std::size_t i = 0; lines.size() > 1 && i < lines.size(); ++i) {
            out_ << lines[i] << '\n';
        }
        printSpread(taken);
        out_ << std::flush;
        requireComparison(taken);
    }

    void measureSeries(const Connection& connection) {
        if (options_.output.json) {
            return measureSeriesAsJson(connection);
        }
        printTitle(connection.portName());
        for (std::uint32_t number = 1; number <= options_.count; ++number) {
            printOneOfSeries(take(connection, number), number);
        }
        if (options_.isSaved()) {
            out_ << "records written to " << shown(options_.fileOf(1)) << " to "
                 << shown(options_.fileOf(options_.count)) << '\n';
        }
    }

    /// What ends the series early takes nothing back: it shows those before.
    void measureSeriesAsJson(const Connection& connection) {
        JsonList list;
        const auto print = [&] {
            out_ << pageOfJson({{"port", connection.portName()}, {"measurements", list}});
        };
        try {
            for (std::uint32_t number = 1; number <= options_.count; ++number) {
                list.push_back(jsonOf(take(connection, number)));
            }
        } catch (...) {
            if (!list.empty()) {
                print();
            }
            throw;
        }
        print();
    }

    const MeasureOptions& options_;
    const Environment& environment_;
    std::ostream& out_;
    RecordLayout layout_;
    Judge judge_;
    RecordSet saved_;  ///< what is known of all measurements that are saved
    MeasurementView view_;
    Palette palette_;
};

void runMeasure(const MeasureOptions& options, const Environment& environment) {
    if (options.isSaved()) {
        options.fileFormat();  // refused first of all
    }
    Measuring(options, environment).run();
}

void addSeriesOptions(CommandLine& line, MeasureOptions& options) {
    addNamed(line, {"--count", "N", "Measure N times in succession"}, options.count,
             [](const std::string& text) {
                 return wholeNumberOf(text, "--count", 1, kMostInSuccession);
             });
    addNamed(line, {"--average", "N", "Take the average of N measurements for each"},
             options.average, [](const std::string& text) {
                 return wholeNumberOf(text, "--average", 1, kMostInSuccession);
             });
    line.addOption({"--output", "FILE",
                    "Save the measurement to this file, '-' for standard output; with --count to "
                    "numbered files"},
                   options.recordFile);
    line.addOption(
        {"--format", "NAME", exchangeFormatNames() + " (default: what the file's extension means)"},
        options.format);
    addDecimalOption(line, options.writing);
}

}  // namespace

void addMeasure(Program& program, const Environment& environment) {
    CommandLine line =
        program.add("measure", "Measure, compare with a standard and judge; into a file or a job");
    const auto options = std::make_shared<MeasureOptions>();
    line.addChoice({.name = "kind",
                    .valueName = "standard|trial",
                    .description = "Kind of measurement (default standard)"},
                   options->kind);
    addSeriesOptions(line, *options);
    addOptions(line, options->view);
    addOptions(line, options->judging);
    addRecordLayoutOption(line, options->recordLayout);
    addOptions(line, options->connection);
    addOptions(line, options->output);
    line.setExamples(
        "Examples:\n"
        "  cq measure standard --average 3 --output red.csv\n"
        "  cq measure trial --against red.csv --formula 2000 --tolerance \"dE00<=1.0\"\n"
        "  cq measure trial --against 3 --count 5 --formula cmc:2:1\n"
        "  cq measure trial --job lot12.cqjob --name 12-1 --check\n"
        "  cq measure standard --virtual --space lch");
    line.setAction([options, environment] { runMeasure(*options, environment); });
}

}  // namespace cqtool

#include <algorithm>
#include <memory>
#include <ostream>
#include <utility>

#include "commands/Commands.h"
#include "commands/MeasurementSeries.h"
#include "commands/Options.h"
#include "exchange/Exchange.h"
#include "Failure.h"
#include "instrument/Storage.h"
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
constexpr std::uint32_t kMostMeasurements = 9'999;

struct MeasureOptions {
    std::string kind = "standard";
    std::uint32_t count = 0;  ///< 0: once
    bool isAveraged = false;
    std::string against;
    DifferenceFormula formula;
    std::string recordFile;
    std::string format;
    std::string recordLayout;
    ConnectionOptions connection;
    OutputOptions output;
    ViewOptions view;

    bool isSeries() const { return count > 0; }
    bool isStandard() const { return kind == "standard"; }
    std::string fileOf(std::uint32_t number) const {
        return isSeries() ? numberedFile(recordFile, number, count) : recordFile;
    }
};

/// The reference of the colour differences.
struct Reference {
    std::string name;
    Measurement measurement;
};

/// A text of digits is the index of a stored standard.
bool isIndex(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

Reference referenceOf(const std::string& name, Measurement measurement) {
    // Its spectrum must be readable, or nothing is measured.
    if (!measurement.spectrum) {
        throw Failure(name + ": " + measurement.problem,
                      "give a record of the same instrument, or its --record-layout");
    }
    return {name, std::move(measurement)};
}

/// What one measurement in a file is compared by.
Reference referenceIn(const std::string& file, const MeasurementView& view) {
    const RecordSet set = loadRecords(file, exchangeFormatFor(file));
    if (set.entries.size() != 1) {
        throw Failure(file + " holds " + counted(set.entries.size(), "measurements") +
                          "; to compare with, there must be one",
                      "give a file that cq measure --output has written, or the index of a stored "
                      "standard");
    }
    const RecordEntry& entry = set.entries.front();
    if (!entry.record && !entry.spectrum) {
        throw Failure(file + " has no spectrum to compute colours from");
    }
    return referenceOf(
        file, entry.record ? view.of(*entry.record, true) : view.of(*entry.spectrum, true));
}

/// Measures, saves and shows as the options say.
class Measuring {
  public:
    Measuring(const MeasureOptions& options, const Environment& environment)
        : options_(options),
          environment_(environment),
          out_(environment.besides(options.recordFile)),
          layout_(loadRecordLayout(options.recordLayout)),
          view_(options.view.viewing, *options.view.space, layout_),
          palette_(options.output.palette()) {
        if (!options_.against.empty() && !isIndex(options_.against)) {
            reference_ = referenceIn(options_.against, view_);
        }
    }

    void run() {
        Connection connection(options_.connection, environment_.interrupt);
        if (isIndex(options_.against)) {
            const std::uint32_t index =
                wholeNumberOf(options_.against, "--against", 0, CQ_ALL_RECORDS - 1);
            reference_ = referenceOf("stored standard " + std::to_string(index),
                                     view_.of(Storage(connection).readStandard(index), true));
        }
        if (isSaved() && format() != ExchangeFormat::raw) {
            saved_ = recordSetOf(connection.deviceInfo(), options_.kind, view_.viewing());
        }
        if (options_.isSeries()) {
            measureSeries(connection);
        } else {
            measureOnce(connection);
        }
    }

  private:
    Measurement measure(const Connection& connection, std::uint32_t number) {
        const StatusLine status(options_.isSeries() ? "measuring " + std::to_string(number) +
                                                          " of " + std::to_string(options_.count)
                                                    : "measuring");
        Measurement measurement =
            view_.of(connection.measure(options_.isStandard()), options_.isStandard());
        if (isSaved()) {
            saved_.entries = {entryOf(*measurement.record, number - 1, options_.isStandard(),
                                      layout_, view_.viewing())};
            writeFile(options_.fileOf(number), writtenRecords(saved_, format()));
        }
        return measurement;
    }

    bool isSaved() const { return !options_.recordFile.empty(); }

    ExchangeFormat format() const {
        return exchangeFormatFor(options_.recordFile, options_.format);
    }

    static void requireSpectrum(const Measurement& measurement) {
        if (!measurement.spectrum) {
            throw Failure(measurement.problem, "without a spectrum there is no difference");
        }
    }

    std::optional<double> differenceOf(const Measurement& measurement) const {
        if (!reference_) {
            return std::nullopt;
        }
        requireSpectrum(measurement);
        return difference(options_.formula, reference_->measurement.lab, measurement.lab);
    }

    Json jsonOf(const Measurement& measurement) const {
        Json json = view_.json(measurement);
        if (reference_) {
            requireSpectrum(measurement);
            addDifference(json, options_.formula, reference_->measurement.lab, measurement.lab);
        }
        return json;
    }

    void printTitle(const std::string& port) {
        out_ << palette_.strong(options_.kind) << " on " << port << ", "
             << viewingName(view_.viewing()) << std::endl;
    }

    void printDifference(const Measurement& measurement) {
        if (const auto difference = differenceOf(measurement)) {
            out_ << symbolOf(options_.formula) << ' ' << fixed(*difference, 2) << " from "
                 << shown(reference_->name) << '\n';
        }
    }

    void printSpectrum(const Spectrum& spectrum) {
        for (const std::string& line : terminalFacts().isTerminal
                                           ? plotSpectrum(spectrum, kPlotColumns, kPlotRows)
                                           : listSpectrum(spectrum)) {
            out_ << line << '\n';
        }
    }

    void measureOnce(const Connection& connection) {
        const Measurement measurement = measure(connection, 1);
        if (options_.output.json) {
            Json json{{"port", connection.portName()}};
            json.update(jsonOf(measurement));
            out_ << pageOfJson(json);
            return;
        }
        if (reference_) {
            requireSpectrum(measurement);
        }
        printTitle(connection.portName());
        if (!measurement.spectrum) {
            environment_.notes << "cq: " << measurement.problem << '\n';
        } else {
            out_ << view_.line(measurement, palette_) << '\n';
            printDifference(measurement);
            printSpectrum(*measurement.spectrum);
        }
        if (isSaved()) {
            out_ << "record written to " << shown(options_.recordFile) << '\n';
        }
    }

    void printOneOfSeries(const Measurement& measurement, std::uint32_t number) {
        const std::size_t width = std::to_string(options_.count).size();
        const std::string digits = std::to_string(number);
        const auto difference = differenceOf(measurement);
        out_ << std::string(width - digits.size(), ' ') << digits << "  "
             << (measurement.spectrum ? view_.line(measurement, palette_) : measurement.problem)
             << (difference ? "  " + symbolOf(options_.formula) + ' ' + fixed(*difference, 2)
                            : std::string())
             << std::endl;
    }

    void measureSeries(const Connection& connection) {
        if (!options_.output.json) {
            printTitle(connection.portName());
        }
        std::vector<Measurement> measurements;
        for (std::uint32_t number = 1; number <= options_.count; ++number) {
            measurements.push_back(measure(connection, number));
            if (!options_.output.json) {
                printOneOfSeries(measurements.back(), number);
            }
        }
        if (options_.output.json) {
            printSeriesJson(measurements, connection.portName());
            return;
        }
        if (options_.isAveraged) {
            printAverage(averageOf(measurements, view_));
        }
        if (isSaved()) {
            out_ << "records written to " << shown(options_.fileOf(1)) << " to "
                 << shown(options_.fileOf(options_.count)) << '\n';
        }
    }

    void printAverage(const Average& average) {
        out_ << palette_.strong("average") << '\n'
             << view_.line(average.measurement, palette_) << '\n'
             << "ΔE*ab from the average: mean " << fixed(average.meanDeltaEab, 2) << ", largest "
             << fixed(average.mostDeltaEab, 2) << '\n';
        printDifference(average.measurement);
        printSpectrum(*average.measurement.spectrum);
    }

    void printSeriesJson(const std::vector<Measurement>& measurements, const std::string& port) {
        Json list = Json::array();
        for (const Measurement& measurement : measurements) {
            list.push_back(jsonOf(measurement));
        }
        Json json{{"port", port}, {"measurements", std::move(list)}};
        if (options_.isAveraged) {
            const Average average = averageOf(measurements, view_);
            json["average"] = jsonOf(average.measurement);
            json["average"]["meanDeltaEabFromAverage"] = average.meanDeltaEab;
            json["average"]["largestDeltaEabFromAverage"] = average.mostDeltaEab;
        }
        out_ << pageOfJson(json);
    }

    const MeasureOptions& options_;
    const Environment& environment_;
    std::ostream& out_;
    RecordLayout layout_;
    RecordSet saved_;  ///< what is known of all measurements that are saved
    MeasurementView view_;
    Palette palette_;
    std::optional<Reference> reference_;
};

void checkFiles(const MeasureOptions& options) {
    if (options.isSeries() && isStream(options.recordFile)) {
        throw UsageError("--count writes a file for each measurement; " + options.recordFile +
                         " is none");
    }
    const std::string against = isIndex(options.against) ? std::string() : options.against;
    for (std::uint32_t number = 1; number <= std::max(options.count, 1U); ++number) {
        checkOutput(options.fileOf(number), options.output, {against, options.recordLayout});
    }
}

void runMeasure(const MeasureOptions& options, const Environment& environment) {
    if (options.isAveraged && options.count < 2) {
        throw UsageError("--average needs a --count of at least 2");
    }
    if (!options.recordFile.empty()) {
        exchangeFormatFor(options.recordFile, options.format);
        checkFiles(options);
    }
    Measuring(options, environment).run();
}

void addSeriesOptions(CommandLine& line, MeasureOptions& options) {
    addNamed(line, {"--count", "N", "Measure N times in succession"}, options.count,
             [](const std::string& text) {
                 return wholeNumberOf(text, "--count", 1, kMostMeasurements);
             });
    line.addFlag({"--average", "", "Also show the average and how far each measurement is from it"},
                 options.isAveraged);
    line.addOption({"--against", "STANDARD",
                    "Show the colour difference from this: the file of a saved record, or the "
                    "index of a stored standard"},
                   options.against);
    addFormulaOption(line, options.formula);
    line.addOption({"--output", "FILE",
                    "Save the measurement to this file, '-' for standard output; with --count to "
                    "numbered files"},
                   options.recordFile);
    line.addOption(
        {"--format", "NAME", exchangeFormatNames() + " (default: what the file's extension means)"},
        options.format);
}

}  // namespace

void addMeasure(Program& program, const Environment& environment) {
    CommandLine line =
        program.add("measure", "Measure, once or several times, and show colour and spectrum");
    const auto options = std::make_shared<MeasureOptions>();
    line.addChoice({.name = "kind",
                    .valueName = "standard|trial",
                    .description = "Kind of measurement (default standard)"},
                   options->kind);
    addSeriesOptions(line, *options);
    addOptions(line, options->view);
    addRecordLayoutOption(line, options->recordLayout);
    addOptions(line, options->connection);
    addOptions(line, options->output);
    line.setExamples(
        "Examples:\n"
        "  cq measure standard --output red.record\n"
        "  cq measure trial --against red.record --illuminant A\n"
        "  cq measure trial --against 3 --count 5 --average --formula cmc:2:1\n"
        "  cq measure standard --virtual --space lch");
    line.setAction([options, environment] { runMeasure(*options, environment); });
}

}  // namespace cqtool

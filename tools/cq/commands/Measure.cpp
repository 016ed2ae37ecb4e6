#include <cstring>
#include <memory>
#include <ostream>

#include "commands/Commands.h"
#include "commands/MeasurementView.h"
#include "commands/Options.h"
#include "Failure.h"
#include "system/Files.h"
#include "system/Terminal.h"
#include "terminal/SpectrumPlot.h"
#include "text/Numbers.h"

namespace cqtool {
namespace {

constexpr std::size_t kPlotColumns = 48;
constexpr std::size_t kPlotRows = 8;

struct Options {
    std::string kind;
    std::string against;
    std::string recordFile;
    std::string recordLayout;
    ConnectionOptions connection;
    OutputOptions output;
    ViewOptions view;
};

CqMeasurementRecord loadRecord(const std::string& file) {
    const std::string content = readFile(file);
    CqMeasurementRecord record;
    if (content.size() != sizeof record.bytes) {
        throw Failure(file + " is no measurement record: it has " + std::to_string(content.size()) +
                          " bytes, a record has 256",
                      "give a file that cq measure --output has written");
    }
    std::memcpy(record.bytes, content.data(), content.size());
    return record;
}

void saveRecord(const std::string& file, const CqMeasurementRecord& record) {
    std::string content(sizeof record.bytes, '\0');
    std::memcpy(content.data(), record.bytes, content.size());
    writeFile(file, content);
}

/// The saved record to compare with; its spectrum must be readable, or nothing is measured.
std::optional<Measurement> loadReference(const Options& options, const MeasurementView& view) {
    if (options.against.empty()) {
        return std::nullopt;
    }
    Measurement reference = view.of(loadRecord(options.against), true);
    if (!reference.spectrum) {
        throw Failure(options.against + ": " + reference.problem,
                      "give a record of the same instrument, or its --record-layout");
    }
    return reference;
}

void printText(const Options& options, const Environment& environment, const MeasurementView& view,
               const Measurement& measurement, const std::optional<double>& difference,
               const std::string& port) {
    const Palette palette = options.output.palette();
    std::ostream& out = environment.out;
    out << palette.strong(measurement.kind()) << " on " << port << ", "
        << viewingName(view.viewing()) << '\n';
    if (!measurement.spectrum) {
        environment.notes << "cq: " << measurement.problem << '\n';
    } else {
        out << view.line(measurement, palette) << '\n';
        if (difference) {
            out << "ΔE*ab " << fixed(*difference, 2) << " from " << options.against << '\n';
        }
        for (const std::string& line :
             terminalFacts().isTerminal
                 ? plotSpectrum(*measurement.spectrum, kPlotColumns, kPlotRows)
                 : listSpectrum(*measurement.spectrum)) {
            out << line << '\n';
        }
    }
    if (!options.recordFile.empty()) {
        out << "record written to " << options.recordFile << '\n';
    }
}

void run(const Options& options, const Environment& environment) {
    const MeasurementView view(options.view.viewing, *options.view.space,
                               loadRecordLayout(options.recordLayout));
    const auto reference = loadReference(options, view);
    const Connection connection(options.connection, environment.interrupt);
    const bool isStandard = options.kind == "standard";
    const Measurement measurement = view.of(connection.measure(isStandard), isStandard);
    if (!options.recordFile.empty()) {
        saveRecord(options.recordFile, measurement.record);
    }
    if (reference && !measurement.spectrum) {
        throw Failure(measurement.problem, "without a spectrum there is no ΔE*ab");
    }
    std::optional<double> difference;
    if (reference) {
        difference = deltaEab(reference->lab, measurement.lab);
    }
    if (options.output.json) {
        Json json{{"port", connection.portName()}};
        json.update(view.json(measurement));
        if (difference) {
            json["deltaEab"] = *difference;
        }
        environment.out << pageOfJson(json);
    } else {
        printText(options, environment, view, measurement, difference, connection.portName());
    }
}

}  // namespace

void addMeasure(Program& program, const Environment& environment) {
    CommandLine line = program.add("measure", "Measure once and show the colour and its spectrum");
    const auto options = std::make_shared<Options>();
    line.addChoice({.name = "kind",
                    .valueName = "standard|trial",
                    .description = "What the measurement is",
                    .isRequired = true},
                   options->kind);
    line.addOption({"--against", "FILE", "A saved record to give the colour difference from"},
                   options->against);
    line.addOption({"--output", "FILE", "Save the record's 256 bytes in this file"},
                   options->recordFile);
    addOptions(line, options->view);
    addRecordLayoutOption(line, options->recordLayout);
    addOptions(line, options->connection);
    addOptions(line, options->output);
    line.setExamples(
        "Examples:\n"
        "  cq measure standard --output red.record\n"
        "  cq measure trial --against red.record --illuminant A\n"
        "  cq measure standard --virtual-options --calibrated --space lch");
    line.setAction([options, environment] { run(*options, environment); });
}

}  // namespace cqtool

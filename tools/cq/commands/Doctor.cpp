#include <algorithm>
#include <memory>
#include <ostream>

#include "commands/Commands.h"
#include "commands/Options.h"
#include "doctor/Findings.h"
#include "Failure.h"
#include "instrument/RecordLayout.h"
#include "text/JsonObject.h"
#include "text/Numbers.h"
#include "text/Text.h"
#include "text/TextTable.h"

namespace cqtool {
namespace {

using Level = Diagnosis::Level;

constexpr const char* kInstrumentOptions = "--calibrated --measure-time 1";

/// Opens a virtual instrument and measures with it, which exercises the program, the library and a
/// line of the system.
Diagnosis virtualFinding(Interrupt& interrupt) {
    constexpr const char* kSubject = "virtual instrument";
    ConnectionOptions options;
    options.useVirtual = true;
    options.virtualOptions = kInstrumentOptions;
    try {
        const Connection connection(options, interrupt);
        const ReadSpectrum read = readSpectrum(connection.measure(true), RecordLayout{});
        if (!read.spectrum) {
            return {Level::problem, kSubject, read.problem,
                    "reinstall program, library and virtual instrument from the same package"};
        }
        const ColorData lab = colorOfSpectrum(*read.spectrum, ColorSpaceLab, Viewing{});
        return {Level::works,
                kSubject,
                "opens on " + connection.portName() + " and measures L* " +
                    fixed(lab.values[0], 2) + " a* " + fixed(lab.values[1], 2) + " b* " +
                    fixed(lab.values[2], 2),
                {}};
    } catch (const UsageError& error) {
        return {Level::note, kSubject, error.what(), {}};
    } catch (const Failure& failure) {
        return {Level::problem, kSubject, failure.what(), failure.advice()};
    }
}

std::vector<Diagnosis> examinePorts() {
    try {
        return portFindings(portFacts());
    } catch (const Failure& failure) {
        return {{Level::problem, "ports", failure.what(), failure.advice()}};
    }
}

/// Prints findings as they arise, or keeps them for the end.
class Protocol {
  public:
    Protocol(const OutputOptions& output, std::ostream& out)
        : output_(output), out_(out), palette_(output.palette()) {}

    void add(const Diagnosis& finding) {
        problems_ += finding.level == Level::problem ? 1 : 0;
        if (output_.json) {
            findings_.push_back({{"subject", finding.subject},
                                 {"level", nameOf(finding.level)},
                                 {"text", finding.text},
                                 {"advice", finding.advice}});
            return;
        }
        const std::string level = nameOf(finding.level);
        out_ << table_.line({finding.level == Level::problem ? palette_.strong(level) : level,
                             finding.subject, shown(finding.text)})
             << '\n';
        if (!finding.advice.empty()) {
            out_ << table_.line({"", "", "Try: " + shown(finding.advice)}) << '\n';
        }
        out_.flush();
    }

    /// Throws Failure if there is a problem, which sets the program's exit status.
    void finish() const {
        if (output_.json) {
            out_ << pageOfJson({{"usable", problems_ == 0}, {"findings", findings_}});
        }
        if (problems_ > 0) {
            throw Failure(std::to_string(problems_) + (problems_ == 1 ? " problem" : " problems"),
                          "follow the advice above, then run cq doctor again");
        }
    }

  private:
    const OutputOptions& output_;
    std::ostream& out_;
    Palette palette_;
    TextTable table_{{{"", TextTable::Align::left, 7},
                      {"", TextTable::Align::left, 18},
                      {"", TextTable::Align::left}}};
    JsonList findings_;
    int problems_ = 0;
};

void runDoctor(const OutputOptions& output, const Environment& environment) {
    Protocol protocol(output, environment.out);
    const std::filesystem::path library = libraryFile();
    protocol.add({Level::works,
                  "library",
                  std::string(CQAPI_VERSION_STRING) +
                      (library.empty() ? std::string() : ", " + library.string()),
                  {}});
    protocol.add(colorFinding());
    protocol.add(logFinding(library));
    for (const Diagnosis& finding : examinePorts()) {
        protocol.add(finding);
    }
    protocol.add(virtualFinding(environment.interrupt));
    protocol.finish();
}

}  // namespace

void addDoctor(Program& program, const Environment& environment) {
    CommandLine line =
        program.add("doctor", "Check what works on this machine and say how to fix what does not");
    const auto output = std::make_shared<OutputOptions>();
    addOptions(line, *output);
    line.setExamples("Examples:\n  cq doctor\n  cq doctor --json");
    line.setAction([output, environment] { runDoctor(*output, environment); });
}

}  // namespace cqtool

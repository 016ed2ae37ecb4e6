#include <memory>
#include <ostream>

#include "commands/Commands.h"
#include "commands/Options.h"
#include "job/JobEvents.h"
#include "job/JobFile.h"
#include "text/JsonObject.h"
#include "text/Text.h"

namespace cqtool {
namespace {

struct CalibrateOptions {
    std::string target;
    std::string job;
    ConnectionOptions connection;
    OutputOptions output;
};

void runCalibrate(const CalibrateOptions& options, const Environment& environment) {
    std::optional<JobFile> job;
    if (!options.job.empty()) {
        job.emplace(options.job);
    }
    const Connection connection(options.connection, environment.interrupt);
    if (options.target == "white") {
        connection.calibrateWhite();
    } else {
        connection.calibrateBlack();
    }
    if (job) {
        job->append(calibratedEvent(identityOf(connection.deviceInfo()), options.target));
        if (!job->repair().empty()) {
            environment.notes << "cq: " << shown(job->repair()) << '\n';
        }
    }
    if (options.output.json) {
        environment.out << pageOfJson(
            {{"port", connection.portName()}, {"calibrated", options.target}});
    } else {
        environment.out << "calibrated on " << options.target << " (" << connection.portName()
                        << ")\n";
    }
}

}  // namespace

void addCalibrate(Program& program, const Environment& environment) {
    CommandLine line = program.add(
        "calibrate",
        "Calibrate on the white tile or the black trap; place the instrument on it first");
    const auto options = std::make_shared<CalibrateOptions>();
    line.addChoice({.name = "target",
                    .valueName = "white|black",
                    .description = "What the instrument stands on",
                    .isRequired = true},
                   options->target);
    line.addOption({"--job", "FILE", "Write into this job that the instrument was calibrated"},
                   options->job);
    addOptions(line, options->connection);
    addOptions(line, options->output);
    line.setExamples(
        "Examples:\n  cq calibrate white\n  cq calibrate black --port /dev/ttyACM0\n"
        "  cq calibrate white --job lot12.cqjob");
    line.setAction([options, environment] { runCalibrate(*options, environment); });
}

}  // namespace cqtool

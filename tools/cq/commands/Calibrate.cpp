#include <memory>
#include <ostream>

#include "colour/ColorJson.h"
#include "commands/Commands.h"
#include "commands/Options.h"

namespace cqtool {
namespace {

struct CalibrateOptions {
    std::string target;
    ConnectionOptions connection;
    OutputOptions output;
};

void runCalibrate(const CalibrateOptions& options, const Environment& environment) {
    const Connection connection(options.connection, environment.interrupt);
    if (options.target == "white") {
        connection.calibrateWhite();
    } else {
        connection.calibrateBlack();
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
    addOptions(line, options->connection);
    addOptions(line, options->output);
    line.setExamples("Examples:\n  cq calibrate white\n  cq calibrate black --port /dev/ttyACM0");
    line.setAction([options, environment] { runCalibrate(*options, environment); });
}

}  // namespace cqtool

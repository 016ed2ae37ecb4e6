#include <memory>
#include <ostream>

#include "commands/Commands.h"
#include "commands/Options.h"
#include "instrument/Labels.h"
#include "instrument/Records.h"
#include "text/JsonObject.h"
#include "text/TextTable.h"

namespace cqtool {
namespace {

struct InfoOptions {
    std::string labels;
    ConnectionOptions connection;
    OutputOptions output;
};

void runInfo(const InfoOptions& options, const Environment& environment) {
    const Connection connection(options.connection, environment.interrupt);
    const CqDeviceInfo info = connection.deviceInfo();
    const Labels labels = labelsFor(options.labels, info);
    if (options.output.json) {
        JsonObject json{{"port", connection.portName()}, {"labels", labels}};
        for (const auto& [name, text] : textsOf(info)) {
            json[name] = text;
        }
        json["standardCapacity"] =
            connection.isWireless() ? JsonValue() : JsonValue(standardCapacity(info));
        environment.out << pageOfJson(json);
        return;
    }
    TextTable table({{"", TextTable::Align::left, 17}, {"", TextTable::Align::left}});
    environment.out << table.line({"port", connection.portName()}) << '\n';
    for (const auto& [name, text] : textsOf(info)) {
        environment.out << table.line({labelOf(labels, name), text}) << '\n';
    }
    // A wireless instrument reports only its texts.
    if (!connection.isWireless()) {
        environment.out << table.line({"standard capacity", std::to_string(standardCapacity(info))})
                        << '\n';
    }
}

}  // namespace

void addInfo(Program& program, const Environment& environment) {
    CommandLine line = program.add("info", "Show the device information");
    const auto options = std::make_shared<InfoOptions>();
    addLabelsOption(line, options->labels);
    addOptions(line, options->connection);
    addOptions(line, options->output);
    line.setExamples(
        "Examples:\n  cq info\n  cq info --port COM5 --json\n  cq info --adapter COM7 --slave "
        "C4BE84A1B2C3\n"
        "  cq info --labels instrument.json");
    line.setAction([options, environment] { runInfo(*options, environment); });
}

}  // namespace cqtool

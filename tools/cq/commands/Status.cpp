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

struct StatusOptions {
    std::string labels;
    ConnectionOptions connection;
    OutputOptions output;
};

void runStatus(const StatusOptions& options, const Environment& environment) {
    const Connection connection(options.connection, environment.interrupt);
    const CqInstrumentStatus status = connection.status();
    const Labels labels = labelsFor(options.labels, connection.deviceInfo());
    if (options.output.json) {
        JsonObject json{{"port", connection.portName()},
                        {"totalStandards", status.totalStandards},
                        {"labels", labels}};
        for (const auto& [number, value] : itemsOf(status)) {
            json["items"][std::to_string(number)] = value;
        }
        environment.out << pageOfJson(json);
        return;
    }
    const TextTable table({{"", TextTable::Align::left, 17}, {"", TextTable::Align::left}});
    environment.out << table.line({"port", connection.portName()}) << '\n'
                    << table.line({"stored standards", std::to_string(status.totalStandards)})
                    << '\n';
    for (const auto& [number, value] : itemsOf(status)) {
        const std::string name = "item" + std::to_string(number);
        environment.out << table.line({labelOf(labels, name), std::to_string(value)}) << '\n';
    }
}

}  // namespace

void addStatus(Program& program, const Environment& environment) {
    CommandLine line = program.add(
        "status",
        "Show the instrument's status, items by their labels or the instrument's own numbers");
    const auto options = std::make_shared<StatusOptions>();
    addLabelsOption(line, options->labels);
    addOptions(line, options->connection);
    addOptions(line, options->output);
    line.setExamples("Examples:\n  cq status\n  cq status --virtual --json");
    line.setAction([options, environment] { runStatus(*options, environment); });
}

}  // namespace cqtool

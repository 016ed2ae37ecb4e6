#include <memory>
#include <ostream>

#include "commands/MeasurementView.h"
#include "commands/StoredRecords.h"
#include "text/TextTable.h"

namespace cqtool {
namespace {

struct StoredListOptions : StoredOptions {
    std::string recordLayout;
    ViewOptions view;
};

using Measurements = std::vector<Measurement>;

void printText(const StoredListOptions& options, const Environment& environment,
               const MeasurementView& view, const Measurements& measurements) {
    if (measurements.empty()) {
        environment.out << "no " << options.list.name() << " are stored";
        if (options.first > 0) {
            environment.out << " from index " << options.first << " on";
        }
        environment.out << '\n';
        return;
    }
    const Palette palette = options.output.palette();
    TextTable table({{"index"}, {"for " + viewingName(view.viewing()), TextTable::Align::left}});
    table.fit({std::to_string(options.first + measurements.size() - 1)});
    environment.out << palette.faint(table.titles()) << '\n';
    std::uint32_t index = options.first;
    for (const Measurement& measurement : measurements) {
        environment.out << table.line({std::to_string(index++),
                                       measurement.spectrum ? view.line(measurement, palette)
                                                            : measurement.problem})
                        << '\n';
    }
}

Json jsonOf(const StoredListOptions& options, const std::string& port, const MeasurementView& view,
            const Measurements& measurements) {
    Json records = Json::array();
    std::uint32_t index = options.first;
    for (const Measurement& measurement : measurements) {
        Json record{{"index", index++}};
        record.update(view.json(measurement));
        records.push_back(std::move(record));
    }
    return {{"port", port}, {"list", options.list.name()}, {"records", std::move(records)}};
}

void runStoredList(const StoredListOptions& options, const Environment& environment) {
    const MeasurementView view(options.view.viewing, *options.view.space,
                               loadRecordLayout(options.recordLayout));
    Connection connection(options.connection, environment.interrupt);
    Measurements measurements;
    for (const CqMeasurementRecord& record : readStored(Storage(connection), options)) {
        measurements.push_back(view.of(record, options.list.isStandards));
    }
    if (options.output.json) {
        environment.out << pageOfJson(jsonOf(options, connection.portName(), view, measurements));
    } else {
        printText(options, environment, view, measurements);
    }
}

}  // namespace

void addStoredList(CommandLine& group, const Environment& environment, bool isStandards) {
    const auto options = std::make_shared<StoredListOptions>();
    options->list.isStandards = isStandards;
    const std::string name = options->list.name();
    CommandLine line =
        group.addCommand("list", isStandards ? "Show the stored standards with their colours"
                                             : "Show the stored samples with their colours");
    addRangeOptions(line, *options);
    addOptions(line, options->view);
    addRecordLayoutOption(line, options->recordLayout);
    addOptions(line, *options);
    line.setExamples("Examples:\n  cq " + name + " list\n  cq " + name +
                     " list --first 100 --count 20 --space lch --json" +
                     (isStandards ? "" : "\n  cq samples list --wireless --standard 3"));
    line.setAction([options, environment] { runStoredList(*options, environment); });
}

}  // namespace cqtool

#include <algorithm>
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
               const MeasurementView& view, const Measurements& measurements,
               std::uint32_t stored) {
    if (measurements.empty()) {
        environment.out << emptyText(options, stored) << '\n';
        return;
    }
    const Palette palette = options.output.palette();
    const bool areNamed =
        std::any_of(measurements.begin(), measurements.end(),
                    [](const Measurement& measurement) { return !measurement.name.empty(); });
    std::vector<TextTable::Column> columns{{"index"}};
    if (areNamed) {
        columns.push_back({"name", TextTable::Align::left});
        columns.push_back({"measured", TextTable::Align::left});
    }
    columns.push_back({"for " + viewingName(view.viewing()), TextTable::Align::left});
    TextTable table(std::move(columns));
    std::vector<TextTable::Row> rows;
    std::uint32_t index = options.first;
    for (const Measurement& measurement : measurements) {
        TextTable::Row row{std::to_string(index++)};
        if (areNamed) {
            row.insert(row.end(), {measurement.name, measurement.time});
        }
        row.push_back(measurement.spectrum ? view.line(measurement, palette) : measurement.problem);
        table.fit(row);
        rows.push_back(std::move(row));
    }
    environment.out << palette.faint(table.titles()) << '\n';
    for (const TextTable::Row& row : rows) {
        environment.out << table.line(row) << '\n';
    }
}

JsonObject jsonOf(const StoredListOptions& options, const std::string& port,
                  const MeasurementView& view, const Measurements& measurements) {
    JsonList records;
    std::uint32_t index = options.first;
    for (const Measurement& measurement : measurements) {
        JsonObject record{{"index", index++}};
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
    const Storage storage(connection);
    for (const CqMeasurementRecord& record : readStored(storage, options)) {
        measurements.push_back(view.of(record, options.list.isStandards));
    }
    if (options.output.json) {
        environment.out << pageOfJson(jsonOf(options, connection.portName(), view, measurements));
    } else {
        printText(options, environment, view, measurements,
                  measurements.empty() ? storage.count(options.list) : 0);
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

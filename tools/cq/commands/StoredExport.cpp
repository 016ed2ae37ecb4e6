#include <memory>
#include <ostream>

#include "colour/ColorJson.h"
#include "commands/StoredRecords.h"
#include "exchange/Exchange.h"
#include "Failure.h"
#include "system/Files.h"
#include "text/Text.h"

namespace cqtool {
namespace {

struct StoredExportOptions : StoredOptions {
    std::string file;
    std::string format;
    std::string recordLayout;
    Viewing viewing;
};

void runStoredExport(const StoredExportOptions& options, const Environment& environment) {
    checkOutput(options.file, options.output, {options.recordLayout});
    const ExchangeFormat format = exchangeFormatFor(options.file, options.format);
    const RecordLayout layout = loadRecordLayout(options.recordLayout);
    Connection connection(options.connection, environment.interrupt);
    const Storage storage(connection);
    const auto records = readStored(storage, options);
    if (records.empty()) {
        throw Failure(emptyText(options, storage.count(options.list)) + "; nothing was written",
                      std::string("see cq ") + options.list.name() + " list");
    }
    RecordSet set =
        recordSetOf(connection.deviceInfo(), options.list.isStandards ? "Standards" : "Samples",
                    options.viewing);
    std::uint32_t index = options.first;
    for (const CqMeasurementRecord& record : records) {
        set.entries.push_back(
            entryOf(record, index++, options.list.isStandards, layout, options.viewing));
    }
    writeFile(options.file, writtenRecords(set, format));
    if (options.output.json) {
        environment.out << pageOfJson({{"port", connection.portName()},
                                       {"list", options.list.name()},
                                       {"file", options.file},
                                       {"records", set.entries.size()}});
    } else if (!isStandardOutput(options.file)) {
        environment.out << counted(set.entries.size(), options.list.name()) << " written to "
                        << shown(options.file) << '\n';
    }
}

}  // namespace

void addStoredExport(CommandLine& group, const Environment& environment, bool isStandards) {
    const auto options = std::make_shared<StoredExportOptions>();
    options->list.isStandards = isStandards;
    const std::string name = options->list.name();
    CommandLine line =
        group.addCommand("export", isStandards ? "Write the stored standards to a file"
                                               : "Write the stored samples to a file");
    line.addOption({.name = "--output",
                    .valueName = "FILE",
                    .description = "The file to write; '-' writes to standard output",
                    .isRequired = true},
                   options->file);
    line.addOption(
        {"--format", "NAME", exchangeFormatNames() + " (default: by the file's extension)"},
        options->format);
    addRangeOptions(line, *options);
    addOptions(line, options->viewing);
    addRecordLayoutOption(line, options->recordLayout);
    addOptions(line, *options);
    line.setExamples(
        "The file is written once all records have arrived; until then an existing file is "
        "kept.\n\nExamples:\n  cq " +
        name + " export --output " + name + ".csv\n  cq " + name + " export --output " + name +
        ".txt --format cgats --illuminant D50\n  cq " + name +
        " export --output - --format json --count 10");
    line.setAction([options, environment] { runStoredExport(*options, environment); });
}

}  // namespace cqtool

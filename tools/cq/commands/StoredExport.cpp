#include <memory>
#include <ostream>

#include "commands/StoredRecords.h"
#include "exchange/Exchange.h"
#include "Failure.h"
#include "job/JobEvents.h"
#include "job/JobFile.h"
#include "system/Files.h"
#include "text/JsonObject.h"
#include "text/Text.h"

namespace cqtool {
namespace {

struct StoredExportOptions : StoredOptions {
    std::string file;
    std::string format;
    std::string recordLayout;
    std::string job;
    WriteOptions writing;
    Viewing viewing;
};

/// Appends the entries; those whose record has no name get the next one of the job.
void takeInto(JobFile& job, const RecordSet& set, const RecordLayout& layout,
              const InstrumentIdentity& instrument) {
    for (const RecordEntry& entry : set.entries) {
        job.append([&](const Job& now) {
            JobMeasurement measurement;
            measurement.entry = entry;
            measurement.instrument = instrument;
            if (readDetails(*entry.record, layout).name.empty()) {
                measurement.entry.name = now.nextName(entry.isStandard);
            }
            const JobMeasurement* standard = now.currentStandard();
            if (!entry.isStandard && standard != nullptr) {
                measurement.standard = standard->number;
            }
            return measurementEvent(measurement);
        });
    }
}

/// What is written to, checked before an instrument is asked.
struct ExportTargets {
    std::optional<ExchangeFormat> format;  ///< of the file, if there is one
    std::optional<JobFile> job;
};

ExportTargets targetsOf(const StoredExportOptions& options) {
    if (options.file.empty() && options.job.empty()) {
        throw UsageError("give the file to write with --output, or a job with --job");
    }
    ExportTargets targets;
    if (!options.file.empty()) {
        checkOutput(options.file, options.output, {options.recordLayout, options.job});
        targets.format = exchangeFormatFor(options.file, options.format);
    }
    if (!options.job.empty()) {
        targets.job.emplace(options.job);
    }
    return targets;
}

void tellExported(const StoredExportOptions& options, const std::string& port, std::size_t count,
                  const Environment& environment) {
    if (options.output.json) {
        JsonObject json{{"port", port}, {"list", options.list.name()}};
        if (!options.file.empty()) {
            json["file"] = options.file;
        }
        if (!options.job.empty()) {
            json["job"] = options.job;
        }
        json["records"] = count;
        environment.out << pageOfJson(json);
        return;
    }
    const std::string records = counted(count, options.list.name());
    if (!options.file.empty() && !isStandardOutput(options.file)) {
        environment.out << records << " written to " << shown(options.file) << '\n';
    }
    if (!options.job.empty()) {
        environment.besides(options.file)
            << records << " taken into the job " << shown(options.job) << '\n';
    }
}

void runStoredExport(const StoredExportOptions& options, const Environment& environment) {
    ExportTargets targets = targetsOf(options);
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
    if (targets.format) {
        writeFile(options.file, writtenRecords(set, *targets.format, options.writing));
    }
    if (targets.job) {
        takeInto(*targets.job, set, layout, identityOf(connection.deviceInfo()));
    }
    tellExported(options, connection.portName(), set.entries.size(), environment);
}

}  // namespace

void addStoredExport(CommandLine& group, const Environment& environment, bool isStandards) {
    const auto options = std::make_shared<StoredExportOptions>();
    options->list.isStandards = isStandards;
    const std::string name = options->list.name();
    CommandLine line =
        group.addCommand("export", isStandards ? "Write the stored standards to a file"
                                               : "Write the stored samples to a file");
    line.addOption({"--output", "FILE", "The file to write; '-' writes to standard output"},
                   options->file);
    line.addOption({"--job", "FILE", "The job to append the records to as its measurements"},
                   options->job);
    line.addOption(
        {"--format", "NAME", exchangeFormatNames() + " (default: by the file's extension)"},
        options->format);
    addDecimalOption(line, options->writing);
    addRangeOptions(line, *options);
    addOptions(line, options->viewing);
    addRecordLayoutOption(line, options->recordLayout);
    addOptions(line, *options);
    line.setExamples(
        "The file is written once all records have arrived; until then an existing file is "
        "kept.\n\nExamples:\n  cq " +
        name + " export --output " + name + ".csv\n  cq " + name + " export --output " + name +
        ".txt --format cgats --illuminant D50\n  cq " + name +
        " export --output - --format json --count 10\n  cq " + name + " export --job lot12.cqjob");
    line.setAction([options, environment] { runStoredExport(*options, environment); });
}

}  // namespace cqtool

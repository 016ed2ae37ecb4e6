#include <algorithm>
#include <memory>
#include <ostream>

#include "commands/StoredRecords.h"
#include "exchange/Exchange.h"
#include "Failure.h"
#include "terminal/StatusLine.h"
#include "text/IndexList.h"
#include "text/JsonObject.h"
#include "text/Text.h"

namespace cqtool {
namespace {

struct StoredImportOptions : StoredOptions {
    std::string file;
    std::string format;
};

std::vector<CqMeasurementRecord> loadStandards(const StoredImportOptions& options) {
    const RecordSet set =
        loadRecords(options.file, exchangeFormatFor(options.file, options.format));
    const auto sample = std::find_if(set.entries.begin(), set.entries.end(),
                                     [](const RecordEntry& entry) { return !entry.isStandard; });
    if (sample != set.entries.end()) {
        throw Failure(options.file + ": entry " + std::to_string(sample - set.entries.begin() + 1) +
                          " is a trial; an instrument takes only standards",
                      "leave only standards in the file");
    }
    auto records = recordsOf(set, options.file);
    if (records.empty()) {
        throw Failure(options.file + " holds no standards", "give a file that has some");
    }
    return records;
}

void checkRoom(const Storage& storage, std::size_t wanted) {
    const auto room = storage.room();
    if (room && wanted > *room) {
        throw Failure("the instrument has room for " + counted(*room, "more standards") +
                          ", the file holds " + std::to_string(wanted) + "; nothing was written",
                      "make room with cq standards delete, or give a smaller file");
    }
}

/// How many standards have arrived, worded so that it is true whatever the instrument did.
std::string arrivals(const Change& change, std::size_t total, std::uint32_t first) {
    std::string text =
        std::to_string(change.done) + " of " + counted(total, "standards") + " arrived";
    if (change.done > 0) {
        text += " (" + rangeText(first, change.done) + ")";
    }
    if (change.unknown > 0) {
        text +=
            "; it is unknown whether any of the next " + std::to_string(change.unknown) + " did";
    }
    return text;
}

std::string adviceAfter(const Change& change, std::uint32_t first) {
    const std::string cause = advice(change.code, Operation::writeStandards);
    return change.done == 0 || change.unknown > 0
               ? cause + "; cq standards list shows what is stored"
               : cause + "; cq standards delete " + std::to_string(first) + "-" +
                     std::to_string(first + change.done - 1) + " removes what arrived";
}

void runStoredImport(const StoredImportOptions& options, const Environment& environment) {
    const auto standards = loadStandards(options);
    Connection connection(options.connection, environment.interrupt);
    Storage storage(connection);
    checkRoom(storage, standards.size());
    const std::uint32_t first = storage.count(options.list);
    StatusLine status;
    const Change change = storage.write(standards, [&status](std::size_t done, std::size_t total) {
        status.progress("writing standards", done, total);
    });
    status.clear();
    if (change.code != CQ_NO_ERROR) {
        throw Failure(failureText(change.code, Operation::writeStandards) + "; " +
                          arrivals(change, standards.size(), first),
                      adviceAfter(change, first));
    }
    if (change.isInterrupted) {
        environment.notes << "cq: " << arrivals(change, standards.size(), first) << '\n';
        throw Interrupted{};
    }
    if (options.output.json) {
        environment.out << pageOfJson({{"port", connection.portName()},
                                       {"file", options.file},
                                       {"written", change.done},
                                       {"firstIndex", first}});
    } else {
        environment.out << counted(change.done, "standards") << " written, "
                        << (change.done == 1 ? "index " : "indices ")
                        << rangeText(first, change.done) << '\n';
    }
}

}  // namespace

void addStandardsImport(CommandLine& group, const Environment& environment) {
    const auto options = std::make_shared<StoredImportOptions>();
    CommandLine line = group.addCommand("import", "Write standards from a file to the instrument");
    line.addOption({.name = "file",
                    .valueName = "FILE",
                    .description = "A file written by cq standards export, with the records",
                    .isRequired = true},
                   options->file);
    line.addOption(
        {"--format", "NAME", "csv, json, cgats, cxf or raw (default: by the file's extension)"},
        options->format);
    addOptions(line, *options);
    line.setExamples(
        "The standards are appended to the stored ones. Nothing is written unless the whole file\n"
        "can be read and, if the instrument reports its capacity, fits.\n\n"
        "Examples:\n"
        "  cq standards import standards.csv\n"
        "  cq standards import backup.bin --port COM5");
    line.setAction([options, environment] { runStoredImport(*options, environment); });
}

}  // namespace cqtool

#include "commands/StoredRecords.h"

#include "terminal/StatusLine.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr std::uint32_t kMostRecords = 1'000'000;

}  // namespace

void addOptions(CommandLine& line, StoredOptions& options) {
    if (!options.list.isStandards) {
        addNamed(line,
                 {"--standard", "INDEX",
                  "The samples of this standard (default: those of all standards); a wired "
                  "instrument may keep one list and not heed it"},
                 options.list.standard, [](const std::string& text) {
                     return wholeNumberOf(text, "--standard", 0, kMostRecords);
                 });
    }
    addOptions(line, options.connection);
    addOptions(line, options.output);
}

void addRangeOptions(CommandLine& line, StoredOptions& options) {
    addNamed(
        line, {"--first", "INDEX", "The first index to read (default 0)"}, options.first,
        [](const std::string& text) { return wholeNumberOf(text, "--first", 0, kMostRecords); });
    addNamed(
        line, {"--count", "N", "How many to read (default: all from the first on)"}, options.most,
        [](const std::string& text) { return wholeNumberOf(text, "--count", 1, kMostRecords); });
}

std::vector<CqMeasurementRecord> readStored(const Storage& storage, const StoredOptions& options) {
    StatusLine status;
    return storage.read(
        options.list, options.first, options.most, [&](std::size_t done, std::size_t total) {
            status.progress(std::string("reading ") + options.list.name(), done, total);
        });
}

std::string emptyText(const StoredOptions& options, std::uint32_t stored) {
    const RecordList& list = options.list;
    if (stored > options.first) {  // a wired instrument counts the samples of all standards
        return std::string("no ") + list.name() + " of this standard are stored";
    }
    return stored == 0 ? std::string("no ") + list.name() + " are stored"
                       : "there is no index " + std::to_string(options.first) + ": " +
                             counted(stored, list.name()) + (stored == 1 ? " is" : " are") +
                             " stored, indices begin with 0";
}

void addStandards(Program& program, const Environment& environment) {
    CommandLine group =
        program.add("standards", "List, export, import or delete the instrument's standards");
    addStoredList(group, environment, true);
    addStoredExport(group, environment, true);
    addStandardsImport(group, environment);
    addStoredDelete(group, environment, true);
    group.setExamples(
        "Examples:\n"
        "  cq standards list\n"
        "  cq standards export --output standards.csv\n"
        "  cq standards import standards.csv\n"
        "  cq standards delete 3 7-9");
}

void addSamples(Program& program, const Environment& environment) {
    CommandLine group =
        program.add("samples", "List, export or delete the samples that the instrument stores");
    addStoredList(group, environment, false);
    addStoredExport(group, environment, false);
    addStoredDelete(group, environment, false);
    group.setExamples(
        "Examples:\n"
        "  cq samples list\n"
        "  cq samples export --output samples.csv\n"
        "  cq samples delete 0-4");
}

}  // namespace cqtool

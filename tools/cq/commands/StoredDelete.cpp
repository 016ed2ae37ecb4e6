#include <memory>
#include <ostream>

#include "commands/Confirmation.h"
#include "commands/StoredRecords.h"
#include "Failure.h"
#include "terminal/StatusLine.h"
#include "text/IndexList.h"
#include "text/JsonObject.h"
#include "text/Text.h"

namespace cqtool {
namespace {

struct StoredDeleteOptions : StoredOptions {
    std::vector<std::string> indices;
    bool isAll = false;
    bool isConfirmed = false;
};

void print(const StoredDeleteOptions& options, const Environment& environment,
           const std::string& port, std::uint32_t standards, std::uint32_t samples) {
    if (options.output.json) {
        environment.out << pageOfJson(
            {{"port", port}, {"deleted", {{"standards", standards}, {"samples", samples}}}});
    } else if (options.isAll) {
        environment.out << counted(standards, "standards") << " and " << counted(samples, "samples")
                        << " deleted\n";
    } else {
        environment.out << counted(options.list.isStandards ? standards : samples,
                                   options.list.name())
                        << " deleted\n";
    }
}

/// Throws UsageError without a terminal to ask.
void checkCanConfirm(const StoredDeleteOptions& options) {
    if (!options.isConfirmed) {
        requireTerminalToAsk(options.isAll ? "--all deletes every standard AND every sample"
                                           : "deleted records cannot be restored");
    }
}

/// \param what is deleted.
void confirm(const Environment& environment, const std::string& what) {
    askForYes(environment, "This deletes " + what + " of the instrument, for good.",
              {"delete", "nothing was deleted"});
}

void deleteAll(const StoredDeleteOptions& options, const Environment& environment) {
    checkCanConfirm(options);
    Connection connection(options.connection, environment.interrupt);
    const Storage storage(connection);
    const std::uint32_t standards = storage.count({});
    const std::uint32_t samples = storage.count({.isStandards = false, .standard = {}});
    if (!options.isConfirmed) {
        confirm(environment, "all " + counted(standards, "standards") + " AND all " +
                                 counted(samples, "samples"));
    }
    {
        const StatusLine status("deleting all records");
        const Connection::KeepOpen keepOpen(connection);
        storage.eraseAll();
    }
    print(options, environment, connection.portName(), standards, samples);
}

/// The records that are gone after an incomplete deletion.
std::string deletions(const StoredDeleteOptions& options, const std::vector<std::uint32_t>& indices,
                      const Change& change) {
    std::string text = std::to_string(change.done) + " of " +
                       counted(indices.size(), options.list.name()) +
                       " were deleted, from the highest index down";
    if (change.done > 0) {
        text += " to " + std::to_string(indices[change.done - 1]);
    }
    if (change.unknown > 0) {
        text += "; it is unknown whether " + std::to_string(indices[change.done]) + " was";
    }
    return text;
}

void deleteSome(const StoredDeleteOptions& options, const Environment& environment) {
    const auto indices = indicesOf(options.indices);
    checkCanConfirm(options);
    Connection connection(options.connection, environment.interrupt);
    Storage storage(connection);
    const std::uint32_t stored = storage.count(options.list);
    if (indices.front() >= stored) {
        throw Failure("there is no index " + std::to_string(indices.front()) +
                          ": the instrument holds " + counted(stored, options.list.name()) +
                          "; nothing was deleted",
                      std::string("see cq ") + options.list.name() + " list; indices begin with 0");
    }
    if (!options.isConfirmed) {
        confirm(environment, counted(indices.size(), options.list.name()) + " (" +
                                 joined(options.indices, ", ") + ")");
    }
    StatusLine status;
    const Change change =
        storage.erase(options.list, indices, [&](std::size_t done, std::size_t total) {
            status.progress(std::string("deleting ") + options.list.name(), done, total);
        });
    status.clear();
    const Operation operation =
        options.list.isStandards ? Operation::deleteStandard : Operation::deleteSample;
    if (change.code != CQ_NO_ERROR) {
        throw Failure(
            failureText(change.code, operation) + "; " + deletions(options, indices, change),
            advice(change.code, operation));
    }
    if (change.isInterrupted) {
        environment.notes << "cq: " << deletions(options, indices, change) << '\n';
        throw Interrupted{};
    }
    print(options, environment, connection.portName(), options.list.isStandards ? change.done : 0,
          options.list.isStandards ? 0 : change.done);
}

void runStoredDelete(const StoredDeleteOptions& options, const Environment& environment) {
    if (options.isAll != options.indices.empty()) {
        throw UsageError(options.isAll ? "give either indices or --all"
                                       : "give the indices to delete, or --all");
    }
    if (options.isAll) {
        deleteAll(options, environment);
    } else {
        deleteSome(options, environment);
    }
}

}  // namespace

void addStoredDelete(CommandLine& group, const Environment& environment, bool isStandards) {
    const auto options = std::make_shared<StoredDeleteOptions>();
    options->list.isStandards = isStandards;
    const std::string name = options->list.name();
    CommandLine line =
        group.addCommand("delete", isStandards ? "Delete stored standards, or all records"
                                               : "Delete stored samples, or all records");
    line.addArguments({"indices", "INDEX", "Indices and ranges, such as 3 or 7-9"},
                      options->indices);
    line.addFlag({"--all", "", "Delete every standard AND every sample"}, options->isAll);
    line.addFlag({"--yes", "", "Do not ask; required without a terminal"}, options->isConfirmed);
    addOptions(line, *options);
    line.setExamples("Indices are those of cq " + name +
                     " list; the records after a deleted one move up. Asks for confirmation.\n\n"
                     "Examples:\n  cq " +
                     name + " delete 3 7-9\n  cq " + name + " delete --all --yes");
    line.setAction([options, environment] { runStoredDelete(*options, environment); });
}

}  // namespace cqtool

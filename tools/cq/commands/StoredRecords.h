#pragma once

#include <cstdint>
#include <vector>

#include "commands/Commands.h"
#include "commands/Options.h"
#include "instrument/Storage.h"

/// \file
/// The commands of cq standards and cq samples, and what they share.

namespace cqtool {

/// The instrument, the stored records to read, and how to show them.
struct StoredOptions {
    RecordList list;
    std::uint32_t first = 0;
    std::uint32_t most = CQ_ALL_RECORDS;
    ConnectionOptions connection;
    OutputOptions output;
};

// Each adds options; the value must outlive the parsing.
/// Connection, output, and for samples their standard.
void addOptions(CommandLine& line, StoredOptions& options);
/// The part of the list.
void addRangeOptions(CommandLine& line, StoredOptions& options);

/// Reads what the options name and shows the progress.
std::vector<CqMeasurementRecord> readStored(const Storage& storage, const StoredOptions& options);

/// Why there is nothing to show: "no standards are stored", "there is no index 9: ...".
std::string emptyText(const StoredOptions& options, std::uint32_t stored);

// Each adds a command to the group of the standards or the samples.
void addStoredList(CommandLine& group, const Environment& environment, bool isStandards);
void addStoredExport(CommandLine& group, const Environment& environment, bool isStandards);
void addStoredDelete(CommandLine& group, const Environment& environment, bool isStandards);
/// Instruments accept only standards.
void addStandardsImport(CommandLine& group, const Environment& environment);

}  // namespace cqtool

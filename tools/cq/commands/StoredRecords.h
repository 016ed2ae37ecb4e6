#pragma once

#include <cstdint>
#include <vector>

#include "commands/Commands.h"
#include "commands/Options.h"
#include "instrument/Storage.h"

/// \file
/// The commands of cq standards and cq samples, and what they share.

namespace cqtool {

/// Which stored records of which instrument, and how to show them.
struct StoredOptions {
    RecordList list;
    std::uint32_t first = 0;
    std::uint32_t most = CQ_ALL_RECORDS;
    ConnectionOptions connection;
    OutputOptions output;
};

// Each adds options; the value must outlive the parsing.
/// Connection, output, and for samples the standard that they belong to.
void addOptions(CommandLine& line, StoredOptions& options);
/// Which part of the list.
void addRangeOptions(CommandLine& line, StoredOptions& options);

/// Reads what the options name and shows how far it has come.
std::vector<CqMeasurementRecord> readStored(const Storage& storage, const StoredOptions& options);

/// Why there is nothing to show: "no standards are stored", "there is no index 9: ...".
std::string emptyText(const StoredOptions& options, std::uint32_t stored);

// Each adds a command to the group of the standards or the samples.
void addStoredList(CommandLine& group, const Environment& environment, bool isStandards);
void addStoredExport(CommandLine& group, const Environment& environment, bool isStandards);
void addStoredDelete(CommandLine& group, const Environment& environment, bool isStandards);
/// Instruments take standards alone.
void addStandardsImport(CommandLine& group, const Environment& environment);

}  // namespace cqtool

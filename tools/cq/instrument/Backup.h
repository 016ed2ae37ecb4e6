#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "instrument/Storage.h"

namespace cqtool {

/// Everything that an instrument stores and a host can read.
struct Backup {
    struct Sample {
        std::optional<std::uint32_t> standard;  ///< index of its standard; nothing: not told
        CqMeasurementRecord record;
    };

    std::string time;  ///< as nowText() writes it
    bool isWireless = false;
    CqDeviceInfo device{};
    std::vector<CqMeasurementRecord> standards;
    std::vector<Sample> samples;
    std::map<std::uint8_t, std::uint8_t> parameters;  ///< a wired instrument's
    std::optional<CqWhiteBoardParameter> whiteBoard;
    std::vector<std::string> missing;  ///< what could not be read, and why
};

/// Called with what is being read or written, and with how much of it is done.
using BackupProgress =
    std::function<void(const std::string& what, std::size_t done, std::size_t total)>;

/// Reads everything but the samples. Throws as Storage::read() does; what the instrument refuses to
/// give besides its standards is missing, not a failure.
Backup readSettings(Connection& connection, const BackupProgress& progress);

/// The samples: a wireless instrument's by their standards; a wired one keeps a single list.
std::vector<Backup::Sample> readSamples(Connection& connection, std::size_t standards,
                                        const BackupProgress& progress);

/// The records of `wanted` that are not among `there`, in order; one that is wanted twice must be
/// there twice.
std::vector<CqMeasurementRecord> recordsMissing(const std::vector<CqMeasurementRecord>& wanted,
                                                const std::vector<CqMeasurementRecord>& there);

/// A backup as JSON, for backupOf().
std::string textOf(const Backup& backup);

/// Throws Failure, with the source's name, for anything else and for a later version's file.
Backup backupOf(std::string_view content, const std::string& source);

}  // namespace cqtool

#pragma once

#include <filesystem>
#include <string_view>

/// \file
/// What writing a file takes of the system, for writeFile(). Functions throw std::system_error.

namespace cqtool {

struct OutputTarget {
    std::filesystem::path file;  ///< where links have led
    bool isStream;               ///< a device, a pipe, an open descriptor: written to as it is
};

/// Throws Failure for a link of another user, who may have put it where this one writes.
OutputTarget outputTarget(const std::filesystem::path& file);

/// Whether the name leads to what standard output is.
bool leadsToStandardOutput(const std::filesystem::path& file);

/// Writes to the end of a device or pipe. A pipe must have a reader.
void writeStream(const std::filesystem::path& stream, std::string_view content);

/// Makes a file, which must not be there yet. Nothing stays of one that cannot be completed.
/// \param replaced whose owner and mode it gets, as far as this user may give them, if it is there.
void writeNewFile(const std::filesystem::path& file, std::string_view content,
                  const std::filesystem::path& replaced);

}  // namespace cqtool

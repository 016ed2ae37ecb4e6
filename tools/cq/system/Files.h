#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace cqtool {

/// In place of a file's name: standard input or output.
inline constexpr const char* kStandardStream = "-";

/// How messages call an input: by its name, or "standard input".
std::string sourceName(const std::filesystem::path& file);

/// The bytes of a file, or of standard input. While it waits for them, Ctrl-C ends the process.
/// Throws Failure, saying why, when it cannot be read or has more than 256 MiB.
std::string readFile(const std::filesystem::path& file);

/// Writes a result. Standard output, a device or a pipe is written to. An ordinary file is replaced
/// by one with this content and the same mode, or stays as it was: the content is written aside,
/// under a name that nobody can foresee, and renamed when it is complete. A link of this user's, or
/// the system's, is followed; another user's is refused. Throws Failure.
void writeFile(const std::filesystem::path& file, std::string_view content);

/// Whether writeFile() writes to standard output: for "-", and for what leads there, as /dev/stdout.
bool isStandardOutput(const std::filesystem::path& file);

/// Whether writeFile() writes to what is there, standard output, a device or a pipe, whose names tell
/// no format.
bool isStream(const std::filesystem::path& file);

/// Whether both names lead to the same ordinary file.
bool areSameFile(const std::filesystem::path& one, const std::filesystem::path& other);

}  // namespace cqtool

#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace cqtool {

/// The bytes of a file. Throws Failure, saying why, when it cannot be read.
std::string readFile(const std::filesystem::path& file);

/// Replaces the file by one with this content, or leaves what was there: the content is written
/// aside and renamed when it is complete. Throws Failure; nothing half-written stays behind.
void writeFile(const std::filesystem::path& file, std::string_view content);

}  // namespace cqtool

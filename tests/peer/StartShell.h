#pragma once

#include <filesystem>
#include <string>

/// \file
/// What a test needs of the system to run programs of the machine that the tests run on, which in
/// Wine is not the system that they were compiled for.

namespace cqtest {

/// Starts a shell script in the background; does not wait for it.
void startShell(const std::string& script);

/// How the test names a file that the script names by `path`.
std::filesystem::path ownPath(const std::string& path);

/// A serial port that the number makes unique among those of this process.
struct PortPlace {
    std::string link;  ///< where the other side links its terminal to
    std::string name;  ///< how the library opens it
};
PortPlace makePortPlace(const std::string& directory, int number);

}  // namespace cqtest

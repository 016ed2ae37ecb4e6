#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace cqtool {

/// What is wrong with a command line that the parser refuses, in this program's words.
/// \param command that the arguments name.
std::string usageText(const CLI::ParseError& error, const CLI::App& command);

/// The candidate that was very likely meant by a mistyped word; empty if none comes near.
std::string meantBy(const std::string& word, const std::vector<std::string>& candidates);

}  // namespace cqtool

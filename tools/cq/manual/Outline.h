#pragma once

#include <string>
#include <vector>

namespace cqtool {

/// An option, or an argument without a dash, of a command.
struct OptionOutline {
    std::string name;       ///< "--port"; of an argument, the name of its value: "FILE"
    std::string valueName;  ///< empty for a flag
    std::string description;
    std::string group;
    bool isArgument = false;
    bool isRequired = false;
    bool takesSeveral = false;
};

/// The definitions of the command line, for texts about it.
struct CommandOutline {
    std::string name;
    std::string description;
    std::string footer;  ///< the end of its help
    std::vector<OptionOutline> options;
    std::vector<CommandOutline> commands;
};

/// The group of options that belong to a command alone.
inline constexpr const char* kOwnGroup = "Options";

}  // namespace cqtool

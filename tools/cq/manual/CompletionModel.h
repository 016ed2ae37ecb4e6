#pragma once

#include <string>
#include <vector>

#include "manual/Outline.h"

namespace cqtool {

/// What can follow an option, or stand as an argument.
struct CompletionValue {
    enum class Kind { none, words, file, port, text };

    Kind kind = Kind::none;
    std::vector<std::string> words;
};

CompletionValue completionValueOf(const OptionOutline& option);

/// A command by the words that lead to it.
struct CompletionPath {
    std::string words;  ///< "standards list"; empty for the program itself
    const CommandOutline* command;
};

/// The program and all commands in it, outer ones first.
std::vector<CompletionPath> completionPaths(const CommandOutline& program);

// The scripts, which completionScript() chooses from.
std::string bashCompletion(const CommandOutline& program);
std::string zshCompletion(const CommandOutline& program);
std::string fishCompletion(const CommandOutline& program);

}  // namespace cqtool

#pragma once

#include <string>
#include <vector>

#include "manual/Outline.h"

namespace cqtool {

/// The possible values of an option or an argument.
struct CompletionValue {
    enum class Kind { none, words, file, port, text };

    Kind kind = Kind::none;
    std::vector<std::string> words;
};

CompletionValue completionValueOf(const OptionOutline& option);

/// A command and the words that lead to it.
struct CompletionPath {
    std::string words;  ///< "standards list"; empty for the program itself
    const CommandOutline* command;
};

/// The program and all commands in it, outer ones first.
std::vector<CompletionPath> completionPaths(const CommandOutline& program);

// The scripts from which completionScript() chooses.
std::string bashCompletion(const CommandOutline& program);
std::string zshCompletion(const CommandOutline& program);
std::string fishCompletion(const CommandOutline& program);

}  // namespace cqtool

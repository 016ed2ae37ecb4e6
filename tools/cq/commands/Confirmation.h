#pragma once

#include <string>

#include "commands/Commands.h"

namespace cqtool {

/// The words of a question.
struct Question {
    std::string verb;     ///< "delete"
    std::string refused;  ///< "nothing was deleted"
};

/// Throws UsageError without a terminal to ask. \param why there is something to ask.
void requireTerminalToAsk(const std::string& why);

/// Asks on the terminal and takes nothing but "yes" for one. Throws Failure for another answer,
/// Interrupted on Ctrl-C.
/// \param what would happen, a sentence.
void askForYes(const Environment& environment, const std::string& what, const Question& question);

}  // namespace cqtool

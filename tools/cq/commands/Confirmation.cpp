#include "commands/Confirmation.h"

#include <iostream>
#include <ostream>

#include "Failure.h"
#include "system/Terminal.h"
#include "text/Text.h"

namespace cqtool {

void requireTerminalToAsk(const std::string& why) {
    if (!isTerminal(StandardStream::input) || !isTerminal(StandardStream::error)) {
        throw UsageError(why + "; without a terminal to ask, confirm with --yes");
    }
}

void askForYes(const Environment& environment, const std::string& what, const Question& question) {
    // Reading goes on after a signal; the connection, registered earlier, is closed by then.
    const auto end = environment.interrupt.onInterrupt([&question] {
        std::cerr << "\ncq: " << question.refused << '\n';
        endProcess(ExitStatus::interrupted);
    });
    environment.notes << what << "\nType yes to " << question.verb << ": " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    if (environment.interrupt.happened()) {  // the signal ended the read
        environment.notes << "\ncq: " << question.refused << '\n';
        environment.interrupt.throwIfHappened();
    }
    if (trimmed(answer) != "yes") {
        throw Failure(question.refused, "type yes, or give --yes, to " + question.verb);
    }
}

}  // namespace cqtool

#include <memory>
#include <ostream>

#include "commands/Commands.h"
#include "cqapi/CQApi.h"
#include "manual/Completion.h"
#include "manual/ManPage.h"

namespace cqtool {

void addManual(Program& program, const Environment& environment) {
    CommandLine line = program.add("man", "Print the manual page, for man and groff");
    line.setExamples("Example:\n  cq man > cq.1 && man ./cq.1");
    line.setAction([&program, environment] {
        environment.out << manPage(program.outline(), CQAPI_VERSION_STRING);
    });
}

void addCompletion(Program& program, const Environment& environment) {
    CommandLine line = program.add("completion", "Print a script for command-line completion");
    const auto shell = std::make_shared<std::string>();
    line.addChoice({.name = "shell",
                    .valueName = "bash|zsh|fish",
                    .description = "The shell to write it for",
                    .isRequired = true},
                   *shell);
    line.setExamples("Example:\n  source <(cq completion bash)");
    line.setAction([&program, environment, shell] {
        environment.out << completionScript(program.outline(), *shell);
    });
}

}  // namespace cqtool

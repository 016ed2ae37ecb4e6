#include "manual/CompletionModel.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr const char* kHead = R"sh(# Completes the command line of cq.

# The command that the line names so far, as in "standards list".
function __cq_command
    set -l command
    for word in (commandline -opc)[2..]
        set -l next (string join ' ' -- $command $word)
        contains -- $next $__cq_commands; and set command $next
    end
    string join '' -- $command
end

function __cq_is
    set -l command (__cq_command)
    test "$command" = "$argv[1]"
end

)sh";

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : text) {
        result += std::string(c == '\'' || c == '\\' ? "\\" : "") + c;
    }
    return result + "'";
}

std::string valueArguments(const CompletionValue& value) {
    switch (value.kind) {
        case CompletionValue::Kind::words:
            return " -x -a " + quoted(joined(value.words, " "));
        case CompletionValue::Kind::file:
            return " -r -F";
        case CompletionValue::Kind::port:
            return " -x -a '(string match -r \"/dev/tty(?:ACM|USB).*\" /dev/tty*)'";
        case CompletionValue::Kind::text:
            return " -x";
        case CompletionValue::Kind::none:
            break;
    }
    return {};
}

std::string lineFor(const CompletionPath& path, const std::string& rest) {
    return "complete -c cq -n \"__cq_is '" + path.words + "'\"" + rest + "\n";
}

std::string linesOf(const CompletionPath& path) {
    std::string text;
    for (const CommandOutline& command : path.command->commands) {
        text += lineFor(path, " -a " + quoted(command.name) + " -d " + quoted(command.description));
    }
    for (const OptionOutline& option : path.command->options) {
        const CompletionValue value = completionValueOf(option);
        if (!option.isArgument) {
            text += lineFor(path, " -l " + option.name.substr(2) + valueArguments(value) + " -d " +
                                      quoted(option.description));
        } else if (value.kind == CompletionValue::Kind::file) {
            text += lineFor(path, " -F");
        } else if (!value.words.empty()) {
            text += lineFor(path, " -a " + quoted(joined(value.words, " ")));
        }
    }
    return text;
}

}  // namespace

std::string fishCompletion(const CommandOutline& program) {
    std::string names;
    std::string lines;
    for (const CompletionPath& path : completionPaths(program)) {
        names += path.words.empty() ? "" : " " + quoted(path.words);
        lines += linesOf(path);
    }
    return "set -g __cq_commands" + names + "\n" + kHead + "complete -c cq -f\n" + lines;
}

}  // namespace cqtool

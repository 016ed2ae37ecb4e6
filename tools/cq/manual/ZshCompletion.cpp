#include "manual/CompletionModel.h"
#include "text/Text.h"

namespace cqtool {
namespace {

/// Text within a specification in single quotes, with its special characters escaped.
std::string literal(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c == '\'') {
            result += "'\\''";
        } else {
            result += std::string(c == '[' || c == ']' || c == ':' || c == '\\' ? "\\" : "") + c;
        }
    }
    return result;
}

std::string zshActionFor(const CompletionValue& value) {
    switch (value.kind) {
        case CompletionValue::Kind::words:
            return "(" + joined(value.words, " ") + ")";
        case CompletionValue::Kind::file:
            return "_files";
        case CompletionValue::Kind::port:
            return "_files -g \"/dev/tty(ACM|USB)*\"";
        case CompletionValue::Kind::none:
        case CompletionValue::Kind::text:
            break;
    }
    return " ";
}

std::string specificationOf(const OptionOutline& option) {
    const CompletionValue value = completionValueOf(option);
    const std::string what = literal(option.valueName) + ":" + zshActionFor(value);
    if (option.isArgument) {
        return std::string("'") + (option.takesSeveral ? "*" : "") + ":" + what + "'";
    }
    return "'" + option.name + "[" + literal(option.description) + "]" +
           (value.kind == CompletionValue::Kind::none ? "" : ":" + what) + "'";
}

std::string branchOf(const CompletionPath& path) {
    std::string text = "        ('" + path.words + "')\n            _arguments";
    for (const OptionOutline& option : path.command->options) {
        text += " \\\n                " + specificationOf(option);
    }
    if (!path.command->commands.empty()) {
        text += " \\\n                ':command:((";
        for (const CommandOutline& command : path.command->commands) {
            text += command.name + "\\:\"" + literal(command.description) + "\" ";
        }
        text += "))'";
    }
    return text + "\n            ;;\n";
}

}  // namespace

std::string zshCompletion(const CommandOutline& program) {
    std::string names;
    std::string branches;
    for (const CompletionPath& path : completionPaths(program)) {
        names += path.words.empty() ? "" : (names.empty() ? "'" : "|'") + path.words + "'";
        branches += branchOf(path);
    }
    return R"sh(#compdef cq
# Completes the command line of cq.

_cq() {
    local command="" next
    # The words that lead to the command are taken off, so that its own come first.
    while (( CURRENT > 2 )); do
        next="${command:+$command }${words[2]}"
        case $next in
            ()sh" +
           names + R"sh() command=$next ;;
            (*) break ;;
        esac
        words[2]=()
        (( CURRENT-- ))
    done
    case $command in
)sh" + branches +
           R"sh(    esac
}

_cq "$@"
)sh";
}

}  // namespace cqtool

#include <map>

#include "manual/CompletionModel.h"
#include "text/Text.h"

namespace cqtool {
namespace {

// How a value is completed; each leaves its proposals in COMPREPLY.
constexpr const char* kFunctions = R"sh(# Completes the command line of cq.

_cq_words() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "$2"); }
_cq_files() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$1")
}
_cq_ports() {
    local ports
    ports=$(compgen -G '/dev/ttyACM*'; compgen -G '/dev/ttyUSB*')
    _cq_words "$ports" "$1"
}
)sh";

std::string bashActionFor(const CompletionValue& value) {
    switch (value.kind) {
        case CompletionValue::Kind::words:
            return "_cq_words \"" + joined(value.words, " ") + "\" \"$current\"";
        case CompletionValue::Kind::file:
            return "_cq_files \"$current\"";
        case CompletionValue::Kind::port:
            return "_cq_ports \"$current\"";
        case CompletionValue::Kind::none:
        case CompletionValue::Kind::text:
            break;
    }
    return "COMPREPLY=()";
}

/// A shell pattern of exact texts.
std::string alternatives(const std::vector<std::string>& texts) {
    return "\"" + joined(texts, "\"|\"") + "\"";
}

/// The branches of a case over command and previous option, which complete a value.
std::string valueBranches(const std::vector<CompletionPath>& paths) {
    std::map<std::string, std::vector<std::string>> places;
    for (const CompletionPath& path : paths) {
        for (const OptionOutline& option : path.command->options) {
            const CompletionValue value = completionValueOf(option);
            if (!option.isArgument && value.kind != CompletionValue::Kind::none) {
                places[bashActionFor(value)].push_back(path.words + ": " + option.name);
            }
        }
    }
    std::string text;
    for (const auto& [action, where] : places) {
        text += "        " + alternatives(where) + ") " + action + "; return ;;\n";
    }
    return text;
}

/// The branches of a case over the command, for a word that is not a value.
std::string wordBranches(const std::vector<CompletionPath>& paths) {
    std::string text;
    for (const CompletionPath& path : paths) {
        std::vector<std::string> words;
        for (const CommandOutline& command : path.command->commands) {
            words.push_back(command.name);
        }
        std::string files;
        for (const OptionOutline& option : path.command->options) {
            if (!option.isArgument) {
                words.push_back(option.name);
                continue;
            }
            const CompletionValue value = completionValueOf(option);
            words.insert(words.end(), value.words.begin(), value.words.end());
            if (value.kind == CompletionValue::Kind::file) {
                files = "[[ $current == -* ]] || { _cq_files \"$current\"; return; }; ";
            }
        }
        text += "        \"" + path.words + "\") " + files + "_cq_words \"" + joined(words, " ") +
                "\" \"$current\" ;;\n";
    }
    return text;
}

}  // namespace

std::string bashCompletion(const CommandOutline& program) {
    const auto paths = completionPaths(program);
    std::vector<std::string> names;
    for (const CompletionPath& path : paths) {
        if (!path.words.empty()) {
            names.push_back(path.words);
        }
    }
    return std::string(kFunctions) + R"sh(
_cq() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local command="" word
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case "${command:+$command }$word" in
        )sh" +
           alternatives(names) +
           R"sh() command="${command:+$command }$word" ;;
        esac
    done
    case "$command: $previous" in
)sh" + valueBranches(paths) +
           R"sh(    esac
    case "$command" in
)sh" + wordBranches(paths) +
           R"sh(    esac
}
complete -F _cq cq
)sh";
}

}  // namespace cqtool

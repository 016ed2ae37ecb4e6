#include "manual/ManPage.h"

#include <algorithm>

#include "text/Text.h"

namespace cqtool {
namespace {

/// Text escaped for roff: a dash stays a dash that can be searched for and copied.
std::string roff(const std::string& text) {
    std::string result;
    bool isAtLineStart = true;
    for (const char c : text) {
        if (isAtLineStart && (c == '.' || c == '\'')) {
            result += "\\&";
        }
        if (c == '\\') {
            result += "\\e";
        } else if (c == '-') {
            result += "\\-";
        } else {
            result += c;
        }
        isAtLineStart = c == '\n';
    }
    return result;
}

std::string bold(const std::string& text) {
    return "\\fB" + roff(text) + "\\fR";
}

std::string italic(const std::string& text) {
    return "\\fI" + roff(text) + "\\fR";
}

std::string heading(const std::string& title) {
    return ".SH \"" + title + "\"\n";
}

std::string paragraph(const std::string& text) {
    return ".PP\n" + roff(text) + "\n";
}

std::string preformatted(const std::string& text) {
    return ".PP\n.nf\n" + roff(text) + "\n.fi\n";
}

std::string usageOf(const OptionOutline& option) {
    return option.isArgument          ? italic(option.valueName)
           : option.valueName.empty() ? bold(option.name)
                                      : bold(option.name) + " " + italic(option.valueName);
}

std::string item(const OptionOutline& option) {
    return ".TP\n" + usageOf(option) + "\n" + roff(option.description) +
           (option.isRequired && !option.isArgument ? " (required)" : "") + "\n";
}

bool isShared(const OptionOutline& option) {
    return option.group != kOwnGroup;
}

bool isHelp(const OptionOutline& option) {
    return option.name == "--help" || option.name == "--version";
}

/// A command with its own options, and the names of the options that are described elsewhere.
std::string commandSection(const CommandOutline& command, const std::string& path) {
    std::string usage = bold(path);
    std::string items;
    std::vector<std::string> shared;
    for (const OptionOutline& option : command.options) {
        if (isHelp(option)) {
            continue;
        }
        if (option.isArgument || option.isRequired) {
            const bool hasMore = option.takesSeveral && !option.valueName.ends_with("...");
            const std::string text = usageOf(option) + (hasMore ? " ..." : "");
            usage += " " + (option.isRequired ? text : "[" + text + "]");
        }
        if (isShared(option)) {
            shared.push_back(bold(option.name));
        } else {
            items += item(option);
        }
    }
    std::string text = ".SS " + usage + "\n" + roff(command.description) + ".\n" + items;
    if (!shared.empty()) {
        text += ".PP\nOptions described below: " + joined(shared, ", ") + ".\n";
    }
    return text + (command.footer.empty() ? std::string() : preformatted(command.footer));
}

std::string commandSections(const CommandOutline& parent, const std::string& path) {
    std::string text;
    for (const CommandOutline& command : parent.commands) {
        const std::string name = path + " " + command.name;
        text += command.commands.empty() ? commandSection(command, name)
                                         : commandSections(command, name);
    }
    return text;
}

struct SharedGroup {
    std::string name;
    std::vector<OptionOutline> options;
};

/// The shared options of a command and its subcommands, each once, in the order of definition.
void collectShared(const CommandOutline& command, std::vector<SharedGroup>& groups) {
    for (const OptionOutline& option : command.options) {
        if (!isShared(option) || isHelp(option)) {
            continue;
        }
        auto group = std::find_if(groups.begin(), groups.end(), [&option](const SharedGroup& g) {
            return g.name == option.group;
        });
        if (group == groups.end()) {
            group = groups.insert(groups.end(), {option.group, {}});
        }
        const auto isSame = [&option](const OptionOutline& other) {
            return other.name == option.name;
        };
        if (std::none_of(group->options.begin(), group->options.end(), isSame)) {
            group->options.push_back(option);
        }
    }
    for (const CommandOutline& inner : command.commands) {
        collectShared(inner, groups);
    }
}

std::string sharedSections(const CommandOutline& program) {
    std::vector<SharedGroup> groups;
    collectShared(program, groups);
    std::string text;
    for (const SharedGroup& group : groups) {
        text += heading(group.name + " options");
        for (const OptionOutline& option : group.options) {
            text += item(option);
        }
    }
    return text;
}

}  // namespace

std::string manPage(const CommandOutline& program, const std::string& version) {
    std::string text = ".TH CQ 1 \"\" \"cq " + roff(version) + "\" \"User Commands\"\n";
    text += ".nh\n";  // no option is broken at the end of a line
    text += heading("NAME") + "cq \\- instrument and colour program of CQApi\n";
    text += heading("SYNOPSIS") + bold("cq") + " " + italic("COMMAND") + " [" + italic("OPTIONS") +
            "]\n.br\n" + bold("cq --help") + "\n.br\n" + bold("cq --version") + "\n";
    text += heading("DESCRIPTION") + roff(program.description) + "\n";
    text += heading("COMMANDS") + commandSections(program, "cq");
    text += sharedSections(program);
    text += heading("EXAMPLES AND EXIT STATUS") + preformatted(program.footer);
    text += heading("ENVIRONMENT") + ".TP\n" + bold("NO_COLOR") +
            "\nSet to anything: no colours.\n.TP\n" + bold("COLORTERM") + ", " + bold("TERM") +
            "\nTell how many colours the terminal has.\n";
    text += heading("FILES") +
            paragraph(
                "--debug-log writes beside the library, into a file named as the library "
                "with .log appended; cq log decode reads it.");
    return text + heading("SEE ALSO") + ".BR cq\\-virtual\\-instrument (1)\n";
}

}  // namespace cqtool

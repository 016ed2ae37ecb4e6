#include "commands/Program.h"

#include <algorithm>
#include <CLI/CLI.hpp>
#include <iostream>
#include <string_view>
#include <utility>

#include "commands/UsageText.h"
#include "system/Terminal.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr const char* kHelp = "help";

void describe(CLI::Option* option, const OptionText& text) {
    option->type_name(text.valueName)->group(text.group)->required(text.isRequired);
}

void printProblem(std::string_view problem, std::string_view advice) {
    std::cout.flush();
    std::cerr << "cq: " << shown(problem) << '\n';
    if (!advice.empty()) {
        std::cerr << "  Try: " << shown(advice) << '\n';
    }
}

std::vector<std::string> commandNames(const CLI::App& parent) {
    std::vector<std::string> names;
    for (const CLI::App* command : parent.get_subcommands({})) {
        names.push_back(command->get_name());
    }
    return names;
}

/// The innermost command that the parsed arguments name.
const CLI::App& chosenCommand(const CLI::App& app) {
    const auto chosen = app.get_subcommands();
    return chosen.empty() ? app : chosenCommand(*chosen.front());
}

/// As in "cq standards list".
std::string fullName(const CLI::App& command) {
    const CLI::App* parent = command.get_parent();
    return (parent == nullptr ? std::string() : fullName(*parent) + ' ') + command.get_name();
}

/// Throws UsageError, with the available commands, unless the parent has this one.
void checkCommandName(const CLI::App& parent, const std::string& name) {
    const auto names = commandNames(parent);
    if (std::find(names.begin(), names.end(), name) == names.end()) {
        const std::string where =
            parent.get_parent() == nullptr ? std::string() : " of " + fullName(parent);
        const std::string meant = meantBy(name, names);
        throw UsageError((name.empty() ? "give a command" + where
                                       : "there is no command '" + name + "'" + where) +
                         (meant.empty() ? "; there are: " + joined(names, ", ")
                                        : "; did you mean " + meant + "?"));
    }
}

}  // namespace

void CommandLine::addFlag(const OptionText& text, bool& value) {
    command_.add_flag(text.name, value, text.description)->group(text.group);
}

void CommandLine::addOption(const OptionText& text, std::string& value) {
    describe(command_.add_option(text.name, value, text.description), text);
}

void CommandLine::addOption(const OptionText& text, const TakeText& take) {
    describe(command_.add_option_function<std::string>(text.name, take, text.description), text);
}

void CommandLine::addChoice(const OptionText& text, std::string& value) {
    std::string words = text.valueName;
    std::replace(words.begin(), words.end(), '|', ' ');
    const auto choices = splitArguments(words);
    addOption(text, [&value, choices, name = text.name](const std::string& word) {
        if (std::find(choices.begin(), choices.end(), word) == choices.end()) {
            throw UsageError(std::string(name) + " must be " + joined(choices, " or ") + ", not '" +
                             word + "'");
        }
        value = word;
    });
}

void CommandLine::addList(const OptionText& text, const TakeTexts& take) {
    CLI::Option* option =
        command_.add_option_function<std::vector<std::string>>(text.name, take, text.description);
    describe(option, text);
    option->delimiter(',')->take_all()->allow_extra_args(false);
}

void CommandLine::addArguments(const OptionText& text, std::vector<std::string>& values) {
    describe(command_.add_option(text.name, values, text.description), text);
}

void CommandLine::exclude(const char* one, const char* other) {
    command_.get_option(one)->excludes(command_.get_option(other));
}

CommandLine CommandLine::addCommand(const char* name, const char* description) {
    command_.require_subcommand(0, 1);
    return CommandLine(*command_.add_subcommand(name, description));
}

void CommandLine::setExamples(const std::string& text) {
    command_.footer(text);
}

void CommandLine::setAction(std::function<void()> action) {
    command_.callback(std::move(action));
}

Program::Program(const std::string& description, const std::string& version,
                 const std::string& helpEnd)
    : app_(std::make_unique<CLI::App>(description, "cq")) {
    app_->set_version_flag("--version", "cq " + version);
    app_->require_subcommand(0, 1);
    app_->footer(helpEnd);
}

Program::~Program() = default;

CommandLine Program::add(const char* name, const char* description) {
    return CommandLine(*app_->add_subcommand(name, description));
}

ExitStatus Program::run(int argc, char** argv) {
    ExitStatus status = ExitStatus::success;
    try {
        parse(argc, argv);
    } catch (const OutOfTolerance&) {
        status = ExitStatus::outOfTolerance;
    } catch (const CLI::Success& request) {
        app_->exit(request);
    } catch (const CLI::ParseError& error) {
        printProblem(usageText(error, chosenCommand(*app_)), helpCommand());
        return ExitStatus::usage;
    } catch (const UsageError& error) {
        printProblem(error.what(), helpCommand());
        return ExitStatus::usage;
    } catch (const Failure& failure) {
        printProblem(failure.what(), failure.advice());
        return ExitStatus::failed;
    } catch (const Interrupted&) {
        std::cout.flush();
        std::cerr << kEndedByInterrupt;
        return ExitStatus::interrupted;
    } catch (const std::exception& error) {
        printProblem(error.what(), {});
        return ExitStatus::failed;
    }
    std::cout.flush();
    if (!std::cout && !isOutputAbandoned()) {
        printProblem("standard output cannot be written to", "check what reads it, or the disk");
        return ExitStatus::failed;
    }
    return status;
}

void Program::parse(int argc, char** argv) {
    std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    if (!arguments.empty() && arguments.front().starts_with('-')) {
        // Options belong to the command: those before it are treated as if they came last.
        const auto names = commandNames(*app_);
        const auto command =
            std::find_first_of(arguments.begin(), arguments.end(), names.begin(), names.end());
        std::rotate(arguments.begin(), command, arguments.end());
    }
    if (!arguments.empty() && arguments.front() == kHelp) {  // cq help measure: cq measure --help
        arguments.erase(arguments.begin());
        arguments.push_back("--help");
    }
    // Checked beforehand, for messages that name the commands that there are.
    const CLI::App* command = app_.get();
    for (const std::string& argument : arguments) {
        if (argument.starts_with('-') || command->get_subcommands({}).empty()) {
            break;
        }
        checkCommandName(*command, argument);
        command = command->get_subcommand(argument);
    }
    std::reverse(arguments.begin(), arguments.end());  // the parser takes them from the end
    app_->parse(arguments);
    const CLI::App& chosen = chosenCommand(*app_);
    if (!chosen.get_subcommands({}).empty()) {
        checkCommandName(chosen, "");
    }
}

std::string Program::helpCommand() const {
    return fullName(chosenCommand(*app_)) + " --help";
}

}  // namespace cqtool

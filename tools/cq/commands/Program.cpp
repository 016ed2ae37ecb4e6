#include "commands/Program.h"

#include <algorithm>
#include <CLI/CLI.hpp>
#include <iostream>
#include <string_view>
#include <utility>

#include "text/Text.h"

namespace cqtool {
namespace {

void describe(CLI::Option* option, const OptionText& text) {
    option->type_name(text.valueName)->group(text.group)->required(text.isRequired);
}

void printProblem(std::string_view problem, std::string_view advice) {
    std::cout.flush();
    std::cerr << "cq: " << problem << '\n';
    if (!advice.empty()) {
        std::cerr << "  Try: " << advice << '\n';
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
    try {
        parse(argc, argv);
    } catch (const CLI::Success& request) {
        app_->exit(request);
    } catch (const CLI::ParseError& error) {
        printProblem(error.what(), helpCommand());
        return ExitStatus::usage;
    } catch (const UsageError& error) {
        printProblem(error.what(), helpCommand());
        return ExitStatus::usage;
    } catch (const Failure& failure) {
        printProblem(failure.what(), failure.advice());
        return ExitStatus::failed;
    } catch (const Interrupted&) {
        printProblem("ended by Ctrl-C", {});
        return ExitStatus::interrupted;
    } catch (const std::exception& error) {
        printProblem(error.what(), {});
        return ExitStatus::failed;
    }
    std::cout.flush();
    if (!std::cout) {
        printProblem("standard output cannot be written to", "check what reads it, or the disk");
        return ExitStatus::failed;
    }
    return ExitStatus::success;
}

void Program::parse(int argc, char** argv) {
    // What begins with a dash is an option, for the parser to know or to refuse.
    if (argc < 2 || *argv[1] != '-') {
        checkCommandName(argc < 2 ? "" : argv[1]);
    }
    app_->parse(argc, argv);
    if (app_->get_subcommands().empty()) {
        checkCommandName("");
    }
}

void Program::checkCommandName(const std::string& name) const {
    std::vector<std::string> names;
    for (const CLI::App* command : app_->get_subcommands({})) {
        names.push_back(command->get_name());
    }
    if (std::find(names.begin(), names.end(), name) == names.end()) {
        throw UsageError(
            (name.empty() ? std::string("give a command") : "there is no command '" + name + "'") +
            "; there are: " + joined(names, ", "));
    }
}

std::string Program::helpCommand() const {
    const auto chosen = app_->get_subcommands();
    return chosen.empty() ? "cq --help" : "cq " + chosen.front()->get_name() + " --help";
}

}  // namespace cqtool

#include "commands/UsageText.h"

#include <algorithm>
#include <CLI/CLI.hpp>
#include <numeric>
#include <utility>

#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr std::size_t kMostTypos = 2;

/// How many letters must be put in, left out or changed to make one word of the other.
std::size_t distanceOf(const std::string& one, const std::string& other) {
    std::vector<std::size_t> row(other.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < one.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t k = 0; k < other.size(); ++k) {
            const std::size_t changed = diagonal + (one[i] == other[k] ? 0 : 1);
            diagonal = row[k + 1];
            row[k + 1] = std::min({changed, row[k] + 1, diagonal + 1});
        }
    }
    return row.back();
}

std::vector<std::string> optionNames(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

bool isOption(const std::string& argument) {
    return argument.starts_with('-') && argument.size() > 1 && !parseNumber(argument);
}

/// An option that is not known; empty if the arguments have none.
std::string unknownOption(const CLI::App& command) {
    const auto rest = command.remaining();
    const auto found = std::find_if(rest.begin(), rest.end(), isOption);
    return found == rest.end() ? std::string() : *found;
}

std::string unknownText(const std::string& option, const CLI::App& command) {
    const std::string meant = meantBy(option, optionNames(command));
    return "there is no option " + option +
           (meant.empty() ? std::string() : "; did you mean " + meant + "?");
}

/// An option or argument as the help shows it: "--output FILE", "FILE".
std::string shownAs(const std::string& name, const CLI::App& command) {
    const CLI::Option* option = command.get_option_no_throw(name);
    if (option == nullptr) {
        return name;
    }
    return (name.starts_with('-') ? name + ' ' : std::string()) + option->get_type_name();
}

/// The words of a message up to a separator, which begin with the option's name.
std::string nameIn(const std::string& message, const char* separator) {
    return message.substr(0, message.find(separator));
}

}  // namespace

std::string meantBy(const std::string& word, const std::vector<std::string>& candidates) {
    std::string nearest;
    std::size_t least = kMostTypos + 1;
    const std::size_t letters = word.find_first_not_of('-');
    for (const std::string& candidate : candidates) {
        const bool beginsAlike = letters != std::string::npos && candidate.size() > letters &&
                                 candidate[letters] == word[letters];
        if (const std::size_t distance = distanceOf(word, candidate);
            beginsAlike && distance < least) {
            least = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

std::string usageText(const CLI::ParseError& error, const CLI::App& command) {
    std::string message = error.what();
    if (const std::string unknown = unknownOption(command); !unknown.empty()) {
        return unknownText(unknown, command);
    }
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
        return "too many arguments: " + joined(command.remaining(), " ");
    }
    if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
        return shownAs(nameIn(message, " is required"), command) + " is required";
    }
    if (dynamic_cast<const CLI::ExcludesError*>(&error) != nullptr) {
        const std::string name = nameIn(message, " excludes ");
        return name + " and " + message.substr(message.rfind(' ') + 1) +
               " cannot be given together";
    }
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        const std::string name = nameIn(message, ": ");
        return message.find("At Most") != std::string::npos
                   ? name + " is given more than once"
                   : name + " needs a value: " + shownAs(name, command);
    }
    return message;
}

}  // namespace cqtool

#include "manual/Completion.h"

#include <algorithm>

#include "color/ColorNames.h"
#include "exchange/Exchange.h"
#include "manual/CompletionModel.h"
#include "text/Text.h"

namespace cqtool {
namespace {

std::vector<std::string> split(const std::string& text, char separator) {
    std::string words = text;
    std::replace(words.begin(), words.end(), separator, ' ');
    return splitArguments(words);
}

bool isWord(const std::string& text) {
    return std::none_of(text.begin(), text.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
}

void appendPaths(const CommandOutline& parent, const std::string& words,
                 std::vector<CompletionPath>& paths) {
    paths.push_back({words, &parent});
    for (const CommandOutline& command : parent.commands) {
        appendPaths(command, (words.empty() ? "" : words + " ") + command.name, paths);
    }
}

}  // namespace

CompletionValue completionValueOf(const OptionOutline& option) {
    using Kind = CompletionValue::Kind;
    if (option.valueName.empty()) {
        return {};
    }
    if (option.name == "--illuminant") {
        return {Kind::words, split(illuminantNames(), ',')};
    }
    if (option.name == "--space" || option.name == "--to") {
        return {Kind::words, split(colorSpaceNames(), ',')};
    }
    if (option.name == "--format" && option.valueName == "NAME") {
        return {Kind::words, split(exchangeFormatNames(), ',')};
    }
    if (option.name == "--port" || option.name == "--adapter") {
        return {Kind::port, {}};
    }
    if (option.valueName.find("FILE") != std::string::npos) {
        return {Kind::file, {}};
    }
    const auto words = split(option.valueName, '|');
    if (words.size() > 1 && std::all_of(words.begin(), words.end(), isWord)) {
        return {Kind::words, words};
    }
    return {Kind::text, {}};
}

std::vector<CompletionPath> completionPaths(const CommandOutline& program) {
    std::vector<CompletionPath> paths;
    appendPaths(program, "", paths);
    return paths;
}

std::string completionScript(const CommandOutline& program, const std::string& shell) {
    return shell == "bash"  ? bashCompletion(program)
           : shell == "zsh" ? zshCompletion(program)
                            : fishCompletion(program);
}

}  // namespace cqtool

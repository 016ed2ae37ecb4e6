#include <CLI/CLI.hpp>

#include "commands/Program.h"

namespace cqtool {
namespace {

OptionOutline outlineOf(const CLI::Option& option) {
    OptionOutline outline;
    outline.isArgument = option.nonpositional() ? false : option.get_positional();
    const bool isFlag = option.get_items_expected_max() == 0;
    outline.valueName = isFlag ? std::string() : option.get_type_name();
    outline.name = outline.isArgument            ? outline.valueName
                   : option.get_lnames().empty() ? "-" + option.get_snames().front()
                                                 : "--" + option.get_lnames().front();
    outline.description = option.get_description();
    outline.group = option.get_group();
    outline.isRequired = option.get_required();
    outline.takesSeveral = option.get_items_expected_max() > 1;
    return outline;
}

CommandOutline outlineOf(const CLI::App& app) {
    CommandOutline outline;
    outline.name = app.get_name();
    outline.description = app.get_description();
    outline.footer = app.get_footer();
    for (const CLI::Option* option : app.get_options({})) {
        outline.options.push_back(outlineOf(*option));
    }
    for (const CLI::App* command : app.get_subcommands({})) {
        outline.commands.push_back(outlineOf(*command));
    }
    return outline;
}

}  // namespace

CommandOutline Program::outline() const {
    return outlineOf(*app_);
}

}  // namespace cqtool

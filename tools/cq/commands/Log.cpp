#include <memory>
#include <ostream>

#include "commands/Commands.h"
#include "commands/Options.h"
#include "log/LogDecoder.h"
#include "system/Files.h"
#include "text/TextTable.h"

namespace cqtool {
namespace {

struct LogOptions {
    std::string file;
    OutputOptions output;
};

const char* nameOf(LogEvent::Direction direction) {
    switch (direction) {
        case LogEvent::Direction::sent:
            return "sent";
        case LogEvent::Direction::received:
            return "received";
        case LogEvent::Direction::note:
            break;
    }
    return "note";
}

const char* nameOf(LogEvent::Layer layer) {
    switch (layer) {
        case LogEvent::Layer::wired:
            return "wired";
        case LogEvent::Layer::moduleText:
            return "at";
        case LogEvent::Layer::wireless:
            return "wireless";
        case LogEvent::Layer::none:
            break;
    }
    return "";
}

const char* arrowOf(const LogEvent& event) {
    switch (event.direction) {
        case LogEvent::Direction::sent:
            return ">";
        case LogEvent::Direction::received:
            return "<";
        case LogEvent::Direction::note:
            break;
    }
    return event.isUnknown ? "?" : "";
}

JsonObject jsonOf(const LogEvent& event) {
    JsonObject json{{"line", event.line},
                    {"time", event.time},
                    {"direction", nameOf(event.direction)},
                    {"layer", nameOf(event.layer)},
                    {"problem", event.isProblem},
                    {"known", !event.isUnknown},
                    {"text", event.text}};
    json.update(event.fields);
    return json;
}

void decode(const LogOptions& options, const Environment& environment) {
    LogDecoder decoder;
    for (const LogLine& line : readLog(readFile(options.file), sourceName(options.file))) {
        decoder.take(line);
    }
    const auto events = decoder.finish();
    if (options.output.json) {
        JsonList entries;
        for (const LogEvent& event : events) {
            entries.push_back(jsonOf(event));
        }
        environment.out << pageOfJson({{"log", options.file}, {"entries", std::move(entries)}});
        return;
    }
    const Palette palette = options.output.palette();
    const TextTable table({{"", TextTable::Align::left, 12},
                           {"", TextTable::Align::left, 1},
                           {"", TextTable::Align::left, 1},
                           {"", TextTable::Align::left}});
    for (const LogEvent& event : events) {
        const std::string text = event.isProblem ? palette.strong(event.text) : event.text;
        environment.out << table.line(
                               {event.time, event.isProblem ? "!" : "", arrowOf(event), text})
                        << '\n';
    }
}

}  // namespace

void addLog(Program& program, const Environment& environment) {
    CommandLine log = program.add("log", "Read the library's debug log");
    CommandLine line =
        log.addCommand("decode", "Print the conversation in a debug log packet by packet");
    const auto options = std::make_shared<LogOptions>();
    line.addOption({.name = "file",
                    .valueName = "FILE",
                    .description = "A log written by --debug-log",
                    .isRequired = true},
                   options->file);
    addOptions(line, options->output);
    line.setExamples(
        "Examples:\n"
        "  cq log decode libCQApi.so.1.log\n"
        "  cq log decode CQApi.dll.log --json");
    line.setAction([options, environment] { decode(*options, environment); });
}

}  // namespace cqtool

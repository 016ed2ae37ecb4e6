#include <cstring>
#include <filesystem>
#include <memory>
#include <ostream>

#include "commands/Commands.h"
#include "commands/Options.h"
#include "Failure.h"
#include "instrument/WhiteBoard.h"
#include "system/Files.h"
#include "text/Text.h"

namespace cqtool {
namespace {

struct WhiteBoardOptions {
    std::string file = kStandardStream;
    ConnectionOptions connection;
    OutputOptions output;
};

/// The extension tells: .bin is the bytes, .json JSON, as without one on a stream.
bool isBytes(const std::string& file) {
    const std::string extension = lowerCase(std::filesystem::path(file).extension().string());
    if (extension != ".bin" && extension != ".json" && !(extension.empty() && isStream(file))) {
        throw UsageError("a white-board parameter's file must be named .bin or .json, not " + file);
    }
    return extension == ".bin";
}

CqWhiteBoardParameter readFrom(const Connection& connection) {
    CqWhiteBoardParameter parameter{};
    connection.check(cqGetWhiteBoardParameter(connection.handle(), &parameter),
                     Operation::readWhiteBoard);
    return parameter;
}

void report(const WhiteBoardOptions& options, const Environment& environment,
            const std::string& port, const std::string& sentence) {
    if (options.output.json) {
        environment.out << pageOfJson({{"port", port}, {"file", options.file}});
    } else {
        environment.out << shown(sentence) << '\n';
    }
}

void get(const WhiteBoardOptions& options, const Environment& environment) {
    const bool isInBytes = isBytes(options.file);
    const Connection connection(options.connection, environment.interrupt);
    const CqWhiteBoardParameter parameter = readFrom(connection);
    writeFile(options.file,
              isInBytes ? whiteBoardBytes(parameter) : pageOfJson(whiteBoardJson(parameter)));
    if (isStandardOutput(options.file)) {
        return;
    }
    report(options, environment, connection.portName(),
           "white-board parameter written to " + options.file);
}

void set(const WhiteBoardOptions& options, const Environment& environment) {
    if (options.connection.isWireless) {
        throw UsageError(
            "the white-board parameter cannot be written wirelessly: after the text the library "
            "sends the address of the data in this machine's memory, never the data; connect the "
            "instrument by its cable");
    }
    const bool isInBytes = isBytes(options.file);
    const std::string content = readFile(options.file);
    const std::string source = sourceName(options.file);
    const CqWhiteBoardParameter parameter =
        isInBytes ? whiteBoardOfBytes(content, source) : whiteBoardOfJson(content, source);
    Connection connection(options.connection, environment.interrupt);
    CqWhiteBoardParameter stored{};
    {
        const Connection::KeepOpen keepOpen(connection);
        connection.check(cqSetWhiteBoardParameter(connection.handle(), &parameter),
                         Operation::writeWhiteBoard);
        stored = readFrom(connection);
    }
    if (std::memcmp(&stored, &parameter, sizeof parameter) != 0) {
        throw Failure("the instrument has not kept the white-board parameter as it was written",
                      "cq whiteboard get shows what it holds");
    }
    report(options, environment, connection.portName(),
           "white-board parameter of " + options.file + " written and read back");
}

}  // namespace

void addWhiteBoard(Program& program, const Environment& environment) {
    CommandLine group =
        program.add("whiteboard", "Read or write the reference values of the white tile");
    group.setExamples(
        "Examples:\n"
        "  cq whiteboard get tile.json\n"
        "  cq whiteboard set tile.json");

    CommandLine getting = group.addCommand("get", "Read the reference values");
    const auto getOptions = std::make_shared<WhiteBoardOptions>();
    getting.addOption(
        {"file", "FILE",
         "The file to write: .bin for the 280 bytes, or .json; '-' or no file prints JSON"},
        getOptions->file);
    addOptions(getting, getOptions->connection);
    addOptions(getting, getOptions->output);
    getting.setExamples(
        "Examples:\n  cq whiteboard get\n  cq whiteboard get tile.json\n  cq whiteboard get "
        "tile.bin --wireless");
    getting.setAction([getOptions, environment] { get(*getOptions, environment); });

    CommandLine setting = group.addCommand("set", "Write the reference values, and read them back");
    const auto setOptions = std::make_shared<WhiteBoardOptions>();
    setting.addOption({.name = "file",
                       .valueName = "FILE",
                       .description = "A file written by cq whiteboard get: .bin or .json",
                       .isRequired = true},
                      setOptions->file);
    addOptions(setting, setOptions->connection);
    addOptions(setting, setOptions->output);
    setting.setExamples(
        "Every later white calibration uses these values: save the old ones first. Works only\n"
        "over the cable.\n\n"
        "Examples:\n"
        "  cq whiteboard get old.bin\n"
        "  cq whiteboard set tile.json");
    setting.setAction([setOptions, environment] { set(*setOptions, environment); });
}

}  // namespace cqtool

#include "commands/Options.h"

#include <cmath>

#include "system/Terminal.h"
#include "text/Numbers.h"

namespace cqtool {
namespace {

constexpr const char* kColourGroup = "Colour";
constexpr double kLeastOpenTimeout = 0.1;  // seconds
constexpr double kMostOpenTimeout = 3600;

[[noreturn]] void refuseNumber(const std::string& text, const char* option, const char* what,
                               double least, double most) {
    throw UsageError(std::string(option) + " must be " + what + " from " + digitsOf(least) +
                     " to " + digitsOf(most) + ", not '" + text + "'");
}

}  // namespace

Palette OutputOptions::palette() const {
    return Palette(chooseColorDepth(color, terminalFacts()));
}

double numberOf(const std::string& text, const char* option, double least, double most) {
    const auto number = parseNumber(text);
    if (!number || *number < least || *number > most) {
        refuseNumber(text, option, "a number", least, most);
    }
    return *number;
}

std::uint32_t wholeNumberOf(const std::string& text, const char* option, std::uint32_t least,
                            std::uint32_t most) {
    const auto number = parseNumber(text);
    if (!number || *number < least || *number > most || *number != std::floor(*number)) {
        refuseNumber(text, option, "a whole number", least, most);
    }
    return static_cast<std::uint32_t>(*number);
}

void addOptions(CommandLine& line, ConnectionOptions& options) {
    constexpr const char* kGroup = "Connection";
    constexpr const char* kOpenTimeout = "--open-timeout";
    line.addOption({"--port", "NAME",
                    "The instrument's port, COM5 or /dev/ttyACM0; without it the instrument is "
                    "looked for",
                    kGroup},
                   options.port);
    line.addFlag(
        {"--virtual", "", "Use a virtual instrument, started for this command alone", kGroup},
        options.useVirtual);
    line.addOption(
        {"--virtual-options", "TEXT",
         "Use one started with these options, such as \"--calibrated --seed 7\"", kGroup},
        [&options](const std::string& text) {
            options.virtualOptions = text;
            options.useVirtual = true;
        });
    line.exclude("--virtual", "--port");
    line.exclude("--virtual-options", "--port");
    addNamed(line,
             {kOpenTimeout, "SECONDS", "How long the port may take to answer (default 5)", kGroup},
             options.openTimeout, [](const std::string& text) {
                 return numberOf(text, kOpenTimeout, kLeastOpenTimeout, kMostOpenTimeout);
             });
    line.addFlag(
        {"--debug-log", "", "Write what goes over the line into a log beside the library", kGroup},
        options.writeDebugLog);
}

void addOptions(CommandLine& line, OutputOptions& options) {
    constexpr const char* kGroup = "Output";
    line.addFlag({"--json", "", "Print JSON for programs to read", kGroup}, options.json);
    addNamed(line, {"--color", "auto|always|never", "Colours in a terminal (default auto)", kGroup},
             options.color, colorModeNamed);
}

void addOptions(CommandLine& line, Viewing& viewing) {
    addNamed(line,
             {"--illuminant", "NAME",
              "Illuminant: D50, D55, D65, D75, A, C or F1 to F12 (default D65)", kColourGroup},
             viewing.illuminant, illuminantNamed);
    addNamed(line,
             {"--observer", "2|10", "Standard observer in degrees (default 10)", kColourGroup},
             viewing.observer, observerNamed);
}

void addOptions(CommandLine& line, ViewOptions& options) {
    addOptions(line, options.viewing);
    addNamed(
        line,
        {"--space", "NAME", "Colour space: " + colorSpaceNames() + " (default lab)", kColourGroup},
        options.space, [](const std::string& name) { return &colorSpaceNamed(name); });
}

void addRecordLayoutOption(CommandLine& line, std::string& file) {
    line.addOption(
        {"--record-layout", "FILE",
         "Where a record holds its spectrum, as JSON (default: the virtual instrument's)",
         kColourGroup},
        file);
}

}  // namespace cqtool

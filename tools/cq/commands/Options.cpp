#include "commands/Options.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "system/Files.h"
#include "system/Terminal.h"
#include "text/Numbers.h"

namespace cqtool {
namespace {

constexpr const char* kColorGroup = "Colour";
constexpr double kLeastOpenTimeout = 0.1;  // seconds
constexpr double kMostOpenTimeout = 3600;

constexpr const char* kConnectionGroup = "Connection";
constexpr const char* kPort = "--port";
constexpr const char* kWireless = "--wireless";
constexpr const char* kAdapter = "--adapter";
constexpr const char* kSlave = "--slave";
constexpr const char* kVirtual = "--virtual";
constexpr const char* kVirtualOptions = "--virtual-options";
constexpr const char* kOpenTimeout = "--open-timeout";

[[noreturn]] void refuseNumber(const std::string& text, const char* option, const char* what,
                               double least, double most) {
    throw UsageError(std::string(option) + " must be " + what + " from " + digitsOf(least) +
                     " to " + digitsOf(most) + ", not '" + text + "'");
}

void addAdapterOption(CommandLine& line, ConnectionOptions& options) {
    line.addOption(
        {kAdapter, "PORT", "Port of the wireless adapter, COM7 or /dev/ttyUSB0", kConnectionGroup},
        [&options](const std::string& text) {
            options.adapter = text;
            options.isWireless = true;
        });
}

/// To be called after addAdapterOption(): a named adapter is a real one.
void addVirtualOptions(CommandLine& line, ConnectionOptions& options) {
    line.addFlag(
        {kVirtual, "", "Use a virtual instrument, started for this command only", kConnectionGroup},
        options.useVirtual);
    line.addOption(
        {kVirtualOptions, "TEXT",
         "Use a virtual instrument with these options, such as \"--calibrated --seed 7\"",
         kConnectionGroup},
        [&options](const std::string& text) {
            options.virtualOptions = text;
            options.useVirtual = true;
        });
    line.exclude(kVirtual, kAdapter);
    line.exclude(kVirtualOptions, kAdapter);
}

void addDebugLogOption(CommandLine& line, ConnectionOptions& options) {
    line.addFlag({"--debug-log", "", "Log the bytes on the line to a file beside the library",
                  kConnectionGroup},
                 options.writeDebugLog);
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

std::string slaveAddressOf(const std::string& text) {
    std::string digits;
    std::copy_if(text.begin(), text.end(), std::back_inserter(digits),
                 [](char c) { return c != ':' && c != '-'; });
    if (digits.empty() || digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
        throw UsageError(
            "--slave must be an address of hexadecimal digits as cq scan shows it, not '" + text +
            "'");
    }
    return digits;
}

void addOptions(CommandLine& line, ConnectionOptions& options) {
    line.addOption(
        {kPort, "NAME", "The instrument's port, COM5 or /dev/ttyACM0 (default: search for it)",
         kConnectionGroup},
        options.port);
    line.addFlag(
        {kWireless, "", "Use a wireless instrument; without --adapter, search for the adapter",
         kConnectionGroup},
        options.isWireless);
    addAdapterOption(line, options);
    line.addOption({kSlave, "ADDRESS",
                    "Use the wireless instrument with this address, see cq scan (default: the "
                    "strongest signal)",
                    kConnectionGroup},
                   [&options](const std::string& text) {
                       options.slave = slaveAddressOf(text);
                       options.isWireless = true;
                   });
    addVirtualOptions(line, options);
    for (const char* option : {kWireless, kAdapter, kSlave, kVirtual, kVirtualOptions}) {
        line.exclude(option, kPort);
    }
    addNamed(line,
             {kOpenTimeout, "SECONDS", "How long opening may take (default 5, wireless 15)",
              kConnectionGroup},
             options.openTimeout, [](const std::string& text) {
                 return numberOf(text, kOpenTimeout, kLeastOpenTimeout, kMostOpenTimeout);
             });
    addDebugLogOption(line, options);
}

void addAdapterOptions(CommandLine& line, ConnectionOptions& options) {
    addAdapterOption(line, options);
    addVirtualOptions(line, options);
    addDebugLogOption(line, options);
}

void addOptions(CommandLine& line, OutputOptions& options) {
    constexpr const char* kGroup = "Output";
    line.addFlag({"--json", "", "Print JSON instead of text", kGroup}, options.json);
    addNamed(line, {"--color", "auto|always|never", "Colours in a terminal (default auto)", kGroup},
             options.color, colorModeNamed);
}

void addOptions(CommandLine& line, Viewing& viewing) {
    addNamed(line,
             {"--illuminant", "NAME",
              "Illuminant: D50, D55, D65, D75, A, C or F1 to F12 (default D65)", kColorGroup},
             viewing.illuminant, illuminantNamed);
    addNamed(line, {"--observer", "2|10", "Standard observer in degrees (default 10)", kColorGroup},
             viewing.observer, observerNamed);
}

void addOptions(CommandLine& line, ViewOptions& options) {
    addOptions(line, options.viewing);
    addNamed(
        line,
        {"--space", "NAME", "Colour space: " + colorSpaceNames() + " (default lab)", kColorGroup},
        options.space, [](const std::string& name) { return &colorSpaceNamed(name); });
}

void checkOutput(const std::string& file, const OutputOptions& output,
                 std::initializer_list<std::string> inputs) {
    for (const std::string& input : inputs) {
        if (!input.empty() && areSameFile(file, input)) {
            throw UsageError(input + " would be replaced by what is made of it; name another file");
        }
    }
    if (output.json && isStandardOutput(file)) {
        throw UsageError("--json reports on a file: leave it out where " + file +
                         " is standard output");
    }
}

void addDecimalOption(CommandLine& line, WriteOptions& writing) {
    addNamed(line,
             {"--decimal", "point|comma",
              "The decimal sign in CSV files (default point); with commas, semicolons separate the "
              "fields"},
             writing.hasDecimalComma, [](const std::string& text) {
                 if (text != "point" && text != "comma") {
                     throw UsageError("--decimal must be point or comma, not '" + text + "'");
                 }
                 return text == "comma";
             });
}

void addFormulaOption(CommandLine& line, DifferenceFormula& formula) {
    addNamed(line,
             {"--formula", "NAME",
              "Which difference counts: " + differenceFormulaNames() +
                  "; with factors 2000:2:1:1, cmc:2:1 (default 76)",
              kColorGroup},
             formula, differenceFormulaNamed);
}

void addRecordLayoutOption(CommandLine& line, std::string& file) {
    line.addOption({"--record-layout", "FILE",
                    "JSON file that says where a record holds its spectrum (default: the virtual "
                    "instrument's layout)",
                    kColorGroup},
                   file);
}

void addLabelsOption(CommandLine& line, std::string& file) {
    line.addOption({"--labels", "FILE",
                    "What texts and items are called, as JSON (default: nothing, or the virtual "
                    "instrument's)"},
                   file);
}

}  // namespace cqtool

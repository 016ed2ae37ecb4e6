#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

#include "color/ColorNames.h"
#include "color/Difference.h"
#include "commands/Program.h"
#include "exchange/Exchange.h"
#include "instrument/Connection.h"
#include "terminal/Palette.h"

namespace cqtool {

/// How results are shown.
struct OutputOptions {
    bool json = false;
    ColorMode color = ColorMode::automatic;

    Palette palette() const;
};

/// The illuminant and observer that colours are computed for, and the space in which they are
/// shown.
struct ViewOptions {
    Viewing viewing;
    const SpaceInfo* space = &colorSpace(ColorSpaceLab);
};

/// Adds an option whose text a function turns into its value.
template <typename Value, typename Function>
void addNamed(CommandLine& line, const OptionText& text, Value& value, Function valueOf) {
    line.addOption(text, [&value, valueOf](const std::string& given) { value = valueOf(given); });
}

/// The number in an option's text; throws UsageError if it is not a number or out of range.
double numberOf(const std::string& text, const char* option, double least, double most);
std::uint32_t wholeNumberOf(const std::string& text, const char* option, std::uint32_t least,
                            std::uint32_t most);

/// The digits of a wireless instrument's address, which may be separated by colons or dashes;
/// throws UsageError for anything else.
std::string slaveAddressOf(const std::string& text);

// Each adds the options; the value must outlive the parsing.
void addOptions(CommandLine& line, ConnectionOptions& options);
/// Only for a wireless adapter, without an instrument.
void addAdapterOptions(CommandLine& line, ConnectionOptions& options);
void addOptions(CommandLine& line, OutputOptions& options);
void addOptions(CommandLine& line, ViewOptions& options);
void addOptions(CommandLine& line, Viewing& viewing);
/// To be called before anything is done. Throws UsageError for an output that is one of the inputs,
/// and for one on standard output among JSON that reports on it.
/// \param inputs empty for those that were not given.
void checkOutput(const std::string& file, const OutputOptions& output,
                 std::initializer_list<std::string> inputs);
/// How CSV is written.
void addDecimalOption(CommandLine& line, WriteOptions& writing);
void addFormulaOption(CommandLine& line, DifferenceFormula& formula);
void addRecordLayoutOption(CommandLine& line, std::string& file);
void addLabelsOption(CommandLine& line, std::string& file);

}  // namespace cqtool

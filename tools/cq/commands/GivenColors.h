#pragma once

#include <string>
#include <vector>

#include "color/ColorInput.h"
#include "commands/Program.h"

namespace cqtool {

/// Where the colours of a command come from.
struct GivenColors {
    InputKind kind = InputKind::spectrum;
    std::string input;                ///< a file, "-" for standard input
    std::vector<std::string> values;  ///< numbers on the command line
    bool isPercent = false;           ///< of spectra
};

/// --from, which must be given; and --input, --percent and numbers.
void addKindOption(CommandLine& line, InputKind& kind);
void addOptions(CommandLine& line, GivenColors& given);

/// From the command line or the file. Throws UsageError unless one of them is given, Failure for a
/// file without such colours and for spectra that cannot be reflectances.
std::vector<InputColor> readColors(const GivenColors& given);

/// The same from both: those of the command line come first.
std::vector<InputColor> readAllColors(const GivenColors& given);

/// Throws Failure for XYZ or Lab values that their table says are for something else.
void checkViewing(const std::vector<InputColor>& colors, InputKind kind, const Viewing& wanted);

/// The first one of a file.
InputColor firstColorIn(const GivenColors& given);

}  // namespace cqtool

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "color/ColorNames.h"
#include "cqapi/CQApi.h"
#include "text/Csv.h"

namespace cqtool {

/// A colour from the user: its name or position, and 3 or 31 numbers.
struct InputColor {
    std::string name;
    std::vector<double> values;
    /// That the numbers are for, if their table says so.
    std::optional<Viewing> viewing = std::nullopt;
};

enum class InputKind { spectrum, xyz, lab };

/// The kind called "spectrum", "xyz" or "lab"; throws UsageError for another name.
InputKind inputKindNamed(const std::string& name);

/// How many numbers a colour of this kind has.
std::size_t valueCount(InputKind kind);

/// Takes colours from the rows of a table: each has the numbers, with or without a name in front.
/// The first row may be a header. One that names the numbers (r400, 410 nm; L, LAB_A, b*) tells
/// which columns to take, and then there may be others. \param source what messages call the table.
/// Throws Failure, with line and field, for any other table.
std::vector<InputColor> colorsOfTable(const CsvTable& table, InputKind kind,
                                      const std::string& source);

/// Reads colours from arguments with one or several numbers each ("50 -20 30" or "50,-20,30").
/// Throws UsageError if they are not numbers or not whole colours.
std::vector<InputColor> colorsOfArguments(const std::vector<std::string>& arguments,
                                          InputKind kind);

/// The numbers of a spectrum divided by 100.
void convertFromPercent(std::vector<InputColor>& spectra);

/// Throws Failure if a value cannot be a reflectance, most often because it is in percent.
void checkReflectances(const std::vector<InputColor>& spectra);

/// Throws Failure, beginning with `where`, for L*, a*, b* that no surface has.
void checkLab(const ColorData& lab, const std::string& where);

}  // namespace cqtool

#include "colour/ColorInput.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

#include "colour/Spectrum.h"
#include "Failure.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

// What a number in a title must be to count as a wavelength, in nm.
constexpr int kLeastWavelength = 300;
constexpr int kMostWavelength = 1100;

const char* formOf(InputKind kind) {
    switch (kind) {
        case InputKind::spectrum:
            return "31 reflectances from 400 to 700 nm in steps of 10 nm";
        case InputKind::xyz:
            return "X, Y, Z";
        case InputKind::lab:
            return "L*, a*, b*";
    }
    return "";
}

/// The wavelength in a column's title: its only digits, as in "r400", "R_400nm" or "400".
std::optional<int> wavelengthOf(std::string_view title) {
    const std::size_t first = title.find_first_of("0123456789");
    if (first == std::string_view::npos) {
        return std::nullopt;
    }
    int value = 0;
    const char* end = std::from_chars(title.data() + first, title.data() + title.size(), value).ptr;
    const std::string_view rest(end, static_cast<std::size_t>(title.data() + title.size() - end));
    const bool isSpectral = value >= kLeastWavelength && value <= kMostWavelength &&
                            rest.find_first_of("0123456789") == std::string_view::npos;
    return isSpectral ? std::optional(value) : std::nullopt;
}

/// Which columns of a table are the numbers, in order, and which one, if any, is the name.
struct ColumnChoice {
    std::vector<std::size_t> numbers;
    std::optional<std::size_t> name;
};

class TableReader {
  public:
    TableReader(const CsvTable& table, InputKind kind, const std::string& source)
        : table_(table),
          kind_(kind),
          source_(source),
          decimalMark_(table.mayHaveDecimalComma() ? ',' : '.') {}

    std::vector<InputColor> read() {
        std::size_t first = 0;
        std::optional<ColumnChoice> choice;
        if (!table_.rows.empty() && isHeader(table_.rows.front())) {
            choice = columnsByWavelength(table_.rows.front());
            first = 1;
        }
        std::vector<InputColor> colors;
        for (std::size_t i = first; i < table_.rows.size(); ++i) {
            const CsvRow& row = table_.rows[i];
            colors.push_back(colorOf(row, choice ? *choice : columnsByCount(row)));
        }
        if (colors.empty()) {
            throw Failure(source_ + " holds no colours",
                          std::string("give a line for each colour: a name if you like, then ") +
                              formOf(kind_));
        }
        return colors;
    }

  private:
    std::optional<double> numberOf(const std::string& field) const {
        const auto number = parseNumber(field, decimalMark_);
        // A table separated by ';' may still have decimal points.
        return number || decimalMark_ == '.' ? number : parseNumber(field);
    }

    /// Titles are not numbers, or they are wavelengths, far above any reflectance.
    bool isHeader(const CsvRow& row) const {
        const auto isTitle = [this](const std::string& field) {
            const auto number = numberOf(field);
            return !number || (kind_ == InputKind::spectrum && *number >= kLeastWavelength);
        };
        return std::all_of(row.fields.begin(), row.fields.end(), isTitle);
    }

    std::optional<ColumnChoice> columnsByWavelength(const CsvRow& header) const {
        const auto columnOf = [&](int wanted) -> std::optional<std::size_t> {
            for (std::size_t i = 0; i < header.fields.size(); ++i) {
                if (wavelengthOf(header.fields[i]) == wanted) {
                    return i;
                }
            }
            return std::nullopt;
        };
        const bool namesWavelengths = std::any_of(header.fields.begin(), header.fields.end(),
                                                  [](const auto& f) { return wavelengthOf(f); });
        if (kind_ != InputKind::spectrum || !namesWavelengths) {
            return std::nullopt;
        }
        ColumnChoice choice;
        for (std::size_t i = 0; i < kWavelengthCount; ++i) {
            const auto column = columnOf(wavelength(i));
            if (!column) {
                throw Failure(source_ + " line " + std::to_string(header.line) +
                                  ": no column for " + std::to_string(wavelength(i)) + " nm",
                              "a spectrum needs " + std::string(formOf(kind_)));
            }
            choice.numbers.push_back(*column);
        }
        if (!wavelengthOf(header.fields.front())) {
            choice.name = 0;
        }
        return choice;
    }

    ColumnChoice columnsByCount(const CsvRow& row) const {
        const std::size_t count = valueCount(kind_);
        if (row.fields.size() != count && row.fields.size() != count + 1) {
            throw Failure(source_ + " line " + std::to_string(row.line) + " has " +
                              std::to_string(row.fields.size()) + " fields",
                          std::string("a line holds ") + formOf(kind_) + ", or a name before them");
        }
        ColumnChoice choice;
        if (row.fields.size() == count + 1) {
            choice.name = 0;
        }
        for (std::size_t i = row.fields.size() - count; i < row.fields.size(); ++i) {
            choice.numbers.push_back(i);
        }
        return choice;
    }

    InputColor colorOf(const CsvRow& row, const ColumnChoice& choice) const {
        InputColor color;
        color.name = choice.name && *choice.name < row.fields.size() ? row.fields[*choice.name]
                                                                     : std::string();
        if (color.name.empty()) {
            color.name = "line " + std::to_string(row.line);
        }
        for (const std::size_t column : choice.numbers) {
            const std::string field = column < row.fields.size() ? row.fields[column] : "";
            const auto number = numberOf(field);
            if (!number) {
                throw Failure(
                    source_ + " line " + std::to_string(row.line) + ", field " +
                        std::to_string(column + 1) + ": '" + field + "' is not a number",
                    std::string("a line holds ") + formOf(kind_) + ", or a name before them");
            }
            color.values.push_back(*number);
        }
        return color;
    }

    const CsvTable& table_;
    InputKind kind_;
    const std::string& source_;
    char decimalMark_;
};

}  // namespace

InputKind inputKindNamed(const std::string& name) {
    const std::string wanted = lowerCase(name);
    if (wanted == "spectrum") {
        return InputKind::spectrum;
    }
    if (wanted == "xyz") {
        return InputKind::xyz;
    }
    if (wanted == "lab") {
        return InputKind::lab;
    }
    throw UsageError("--from must be spectrum, xyz or lab, not '" + name + "'");
}

std::size_t valueCount(InputKind kind) {
    return kind == InputKind::spectrum ? kWavelengthCount : 3;
}

std::vector<InputColor> colorsOfTable(const CsvTable& table, InputKind kind,
                                      const std::string& source) {
    return TableReader(table, kind, source).read();
}

std::vector<InputColor> colorsOfArguments(const std::vector<std::string>& arguments,
                                          InputKind kind) {
    std::string text = joined(arguments, " ");
    std::replace(text.begin(), text.end(), ',', ' ');
    std::vector<double> numbers;
    for (const std::string& word : splitArguments(text)) {
        const auto number = parseNumber(word);
        if (!number) {
            throw UsageError("'" + word + "' is not a number; expected " + formOf(kind));
        }
        numbers.push_back(*number);
    }
    const std::size_t count = valueCount(kind);
    if (numbers.empty() || numbers.size() % count != 0) {
        throw UsageError(std::to_string(numbers.size()) + " numbers were given; expected " +
                         formOf(kind) + ", once or several times");
    }
    std::vector<InputColor> colors;
    for (auto first = numbers.begin(); first != numbers.end();
         first += static_cast<std::ptrdiff_t>(count)) {
        colors.push_back({std::to_string(colors.size() + 1),
                          {first, first + static_cast<std::ptrdiff_t>(count)}});
    }
    return colors;
}

void convertFromPercent(std::vector<InputColor>& spectra) {
    for (InputColor& color : spectra) {
        for (double& value : color.values) {
            value /= 100;
        }
    }
}

void checkReflectances(const std::vector<InputColor>& spectra) {
    for (const InputColor& color : spectra) {
        for (std::size_t i = 0; i < color.values.size(); ++i) {
            const double value = color.values[i];
            if (value < kLeastPlausible || value > kMostPlausible) {
                throw Failure("the spectrum '" + color.name + "' has " + fixed(value, 4) + " at " +
                                  std::to_string(wavelength(i)) + " nm, which is not a reflectance",
                              "reflectances are fractions, 1.0 is the perfect white; add --percent "
                              "if yours are in percent");
            }
        }
    }
}

}  // namespace cqtool

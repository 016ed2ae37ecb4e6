#include "color/ColorInput.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>

#include "color/ColumnTitles.h"
#include "color/Spectrum.h"
#include "Failure.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

// From here on a number among titles is a wavelength, in nm: no reflectance comes near it.
constexpr int kLeastWavelengthTitle = 300;

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

/// Which columns of a table are the numbers, in order, and which one, if any, is the name.
struct ColumnChoice {
    std::vector<std::size_t> numbers;
    std::optional<std::size_t> name;
    std::optional<std::size_t> illuminant;
    std::optional<std::size_t> observer;
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
            choice = columnsByTitle(table_.rows.front());
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
            return !number || (kind_ == InputKind::spectrum && *number >= kLeastWavelengthTitle);
        };
        return std::all_of(row.fields.begin(), row.fields.end(), isTitle);
    }

    /// Nothing when the titles name none of the numbers: then their order tells.
    std::optional<ColumnChoice> columnsByTitle(const CsvRow& header) const {
        const ColumnTitles titles(header.fields);
        ColumnChoice choice;
        const auto add = [&](std::optional<std::size_t> column, const std::string& what) {
            if (!column) {
                throw Failure(source_ + " line " + std::to_string(header.line) +
                                  ": no column for " + what + "; there are: " + titles.list(),
                              std::string("name the columns of ") + formOf(kind_));
            }
            choice.numbers.push_back(*column);
        };
        if (kind_ == InputKind::spectrum) {
            for (std::size_t i = 0; i < kWavelengthCount && titles.namesWavelengths(); ++i) {
                add(titles.spectrum(wavelength(i)), std::to_string(wavelength(i)) + " nm");
            }
        } else {
            const bool isXyz = kind_ == InputKind::xyz;
            const auto columns = titles.triple(isXyz);
            const bool isNamed = std::any_of(columns.begin(), columns.end(),
                                             [](const auto& column) { return column.has_value(); });
            for (std::size_t i = 0; i < columns.size() && isNamed; ++i) {
                add(columns[i], colorSpace(isXyz ? ColorSpaceXyz : ColorSpaceLab).symbols[i]);
            }
        }
        if (choice.numbers.empty()) {
            checkWidth(header, titles);
            return std::nullopt;
        }
        const bool isFirstFree =
            std::find(choice.numbers.begin(), choice.numbers.end(), 0U) == choice.numbers.end();
        choice.name = titles.name() || !isFirstFree ? titles.name() : std::optional<std::size_t>(0);
        choice.illuminant = titles.find({"illuminant"});
        choice.observer = titles.find({"observer"});
        return choice;
    }

    void checkWidth(const CsvRow& header, const ColumnTitles& titles) const {
        if (header.fields.size() > valueCount(kind_) + 1) {
            throw Failure(source_ + " line " + std::to_string(header.line) +
                              ": no column is called as " + formOf(kind_) +
                              "; there are: " + titles.list(),
                          "call the columns L, a, b, or X, Y, Z, or R400 to R700");
        }
    }

    ColumnChoice columnsByCount(const CsvRow& row) const {
        const std::size_t count = valueCount(kind_);
        if (row.fields.size() != count && row.fields.size() != count + 1) {
            throw Failure(source_ + " line " + std::to_string(row.line) + " has " +
                              counted(row.fields.size(), "fields"),
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
        if (kind_ == InputKind::lab) {
            checkLab({{static_cast<float>(color.values[0]), static_cast<float>(color.values[1]),
                       static_cast<float>(color.values[2])}},
                     source_ + " line " + std::to_string(row.line));
        }
        color.viewing = viewingOf(row, choice);
        return color;
    }

    std::optional<Viewing> viewingOf(const CsvRow& row, const ColumnChoice& choice) const {
        if (!choice.illuminant || !choice.observer ||
            std::max(*choice.illuminant, *choice.observer) >= row.fields.size()) {
            return std::nullopt;
        }
        try {
            return Viewing{illuminantNamed(row.fields[*choice.illuminant]),
                           observerNamed(row.fields[*choice.observer])};
        } catch (const UsageError& error) {
            throw Failure(source_ + " line " + std::to_string(row.line) + ": " + error.what());
        }
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
        throw UsageError(counted(numbers.size(), "numbers") + " given; expected " + formOf(kind) +
                         ", once or several times");
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

void checkLab(const ColorData& lab, const std::string& where) {
    static constexpr const char* kNames[] = {"L*", "a*", "b*"};
    for (std::size_t i = 0; i < std::size(kNames); ++i) {
        const double value = lab.values[i];
        if (value < kLeastLab[i] || value > kMostLab[i]) {
            throw Failure(where + ": no surface has " + kNames[i] + ' ' + digitsOf(value),
                          "L* is 0 to 100, a* and b* are -128 to 128 as a rule");
        }
    }
}

}  // namespace cqtool

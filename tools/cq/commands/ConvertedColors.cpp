#include "commands/ConvertedColors.h"

#include <algorithm>
#include <sstream>

#include "color/ColorJson.h"
#include "text/Numbers.h"
#include "text/Text.h"
#include "text/TextTable.h"

namespace cqtool {
namespace {

constexpr std::size_t kMostWidth = 120;

using Colors = std::span<const ConvertedColor>;

/// As in "94.85", with a mark beyond the limits of the index; a dash where it is not defined.
std::string textOf(const Figure& figure) {
    return figure.value ? fixed(*figure.value, 2) + (figure.isWithinLimits ? "" : "!") : "-";
}

/// As in "index.tint-cie".
std::string titleOf(const Figure& figure) {
    return figure.group + '.' + figure.name;
}

/// The colours with some of what there is of them: spaces and then figures, from the first on.
std::string blockOf(Colors colors, Spaces spaces, std::size_t first, std::size_t count,
                    const Palette& palette) {
    std::vector<TextTable::Column> columns{{"name", TextTable::Align::left},
                                           {"for", TextTable::Align::left},
                                           {"", TextTable::Align::left}};
    for (std::size_t i = first; i < first + count; ++i) {
        if (i < spaces.size()) {
            for (const char* symbol : spaces[i]->symbols) {
                columns.push_back({symbol});
            }
        } else {
            columns.push_back({titleOf(colors.front().figures[i - spaces.size()])});
        }
    }
    std::vector<TextTable::Row> rows;
    TextTable table(std::move(columns));
    for (const ConvertedColor& color : colors) {
        const std::string swatch = palette.swatch(color.rgb, Palette::kSwatchWidth);
        TextTable::Row row{shown(color.name), viewingName(color.viewing),
                           swatch.empty() ? hexColor(color.rgb) : swatch};
        for (std::size_t i = first; i < first + count; ++i) {
            if (i >= spaces.size()) {
                row.push_back(textOf(color.figures[i - spaces.size()]));
                continue;
            }
            for (std::size_t k = 0; k < 3; ++k) {
                row.push_back(fixed(color.values[i].values[k], spaces[i]->decimals[k]));
            }
        }
        table.fit(row);
        rows.push_back(std::move(row));
    }
    std::string text = table.titles() + '\n';
    for (const TextTable::Row& row : rows) {
        text += table.line(row) + '\n';
    }
    return text;
}

/// Of the widest line.
std::size_t widthOf(const std::string& text) {
    std::size_t width = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        width = std::max(width, displayWidth(line));
    }
    return width;
}

}  // namespace

Spectrum spectrumOf(const InputColor& color) {
    Spectrum spectrum;
    std::transform(color.values.begin(), color.values.end(), spectrum.begin(),
                   [](double value) { return static_cast<float>(value); });
    return spectrum;
}

ColorData colorOf(const InputColor& color, InputKind kind, std::uint32_t space,
                  const Viewing& viewing) {
    if (kind == InputKind::spectrum) {
        return colorOfSpectrum(spectrumOf(color), space, viewing);
    }
    const ColorData triple{{static_cast<float>(color.values[0]),
                            static_cast<float>(color.values[1]),
                            static_cast<float>(color.values[2])}};
    return kind == InputKind::xyz ? colorOfXyz(triple, space, viewing)
                                  : colorOfLab(triple, space, viewing);
}

std::vector<ConvertedColor> convert(const std::vector<InputColor>& colors, InputKind kind,
                                    Spaces spaces, std::span<const Viewing> viewings) {
    std::vector<ConvertedColor> result;
    for (const InputColor& color : colors) {
        for (const Viewing& viewing : viewings) {
            ConvertedColor converted{color.name, viewing, {}, {}, {}};
            for (const SpaceInfo* space : spaces) {
                converted.values.push_back(colorOf(color, kind, space->number, viewing));
            }
            converted.rgb = toRgb(colorOf(color, kind, ColorSpaceSrgb, viewing));
            result.push_back(std::move(converted));
        }
    }
    return result;
}

std::string tableOf(Colors colors, Spaces spaces, const Palette& palette) {
    const std::size_t total = spaces.size() + (colors.empty() ? 0 : colors.front().figures.size());
    std::string text = blockOf(colors, spaces, 0, total, palette);
    if (widthOf(text) <= kMostWidth) {
        return text;
    }
    // Too wide for a screen: as many side by side as fit, the others below.
    text.clear();
    for (std::size_t first = 0; first < total;) {
        std::size_t count = 1;
        std::string block = blockOf(colors, spaces, first, count, palette);
        while (first + count < total) {
            const std::string wider = blockOf(colors, spaces, first, count + 1, palette);
            if (widthOf(wider) > kMostWidth) {
                break;
            }
            block = wider;
            ++count;
        }
        text += (first == 0 ? "" : "\n") + block;
        first += count;
    }
    return text;
}

std::string csvOf(std::span<const ConvertedColor> colors, Spaces spaces) {
    std::string text = "name,illuminant,observer";
    for (const SpaceInfo* space : spaces) {
        for (const char* key : space->keys) {
            text += std::string(",") + space->name + "." + key;
        }
    }
    for (const Figure& figure : colors.empty() ? std::vector<Figure>() : colors.front().figures) {
        text += ',' + titleOf(figure);
    }
    text += ",hex\n";
    for (const ConvertedColor& color : colors) {
        text += csvField(shown(color.name)) + "," + illuminantName(color.viewing.illuminant) + "," +
                std::to_string(observerDegrees(color.viewing.observer));
        for (const ColorData& values : color.values) {
            for (const float value : values.values) {
                text += "," + digitsOf(shortest(value));
            }
        }
        for (const Figure& figure : color.figures) {
            text += ',' + (figure.value ? digitsOf(*figure.value) : std::string());
        }
        text += "," + hexColor(color.rgb) + '\n';
    }
    return text;
}

std::string jsonOf(std::span<const ConvertedColor> colors, Spaces spaces) {
    JsonList json;
    for (const ConvertedColor& color : colors) {
        JsonObject entry{{"name", color.name},
                         {"illuminant", illuminantName(color.viewing.illuminant)},
                         {"observer", observerDegrees(color.viewing.observer)}};
        for (std::size_t i = 0; i < spaces.size(); ++i) {
            entry[spaces[i]->name] = colorJson(color.values[i], *spaces[i]);
        }
        JsonList beyondLimits;
        for (const Figure& figure : color.figures) {
            entry[figure.group][figure.name] = figure.value;
            if (!figure.isWithinLimits) {
                beyondLimits.push_back(figure.name);
            }
        }
        if (!beyondLimits.empty()) {
            entry["beyondLimits"] = std::move(beyondLimits);
        }
        entry["hex"] = hexColor(color.rgb);
        json.push_back(std::move(entry));
    }
    return pageOfJson(json);
}

}  // namespace cqtool

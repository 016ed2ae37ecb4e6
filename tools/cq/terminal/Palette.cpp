#include "terminal/Palette.h"

#include <algorithm>
#include <array>

#include "Failure.h"

namespace cqtool {
namespace {

// xterm's table of 256 colours.
constexpr int kCubeStart = 16;
constexpr std::array<int, 6> kCubeLevels{0, 95, 135, 175, 215, 255};
constexpr int kGreyStart = 232;
constexpr int kGreyCount = 24;
constexpr int kDarkestGrey = 8;
constexpr int kGreyStep = 10;

constexpr std::string_view kReset = "\x1b[0m";

int squaredDistance(const Rgb& color, int red, int green, int blue) {
    const int r = color.red - red;
    const int g = color.green - green;
    const int b = color.blue - blue;
    return r * r + g * g + b * b;
}

int nearestLevel(int channel) {
    const auto distance = [channel](int level) { return std::abs(level - channel); };
    const auto nearest =
        std::min_element(kCubeLevels.begin(), kCubeLevels.end(),
                         [&](int one, int other) { return distance(one) < distance(other); });
    return static_cast<int>(nearest - kCubeLevels.begin());
}

}  // namespace

ColorDepth chooseColorDepth(ColorMode mode, const TerminalFacts& facts) {
    const std::string term = facts.term.value_or("");
    const std::string colorTerm = facts.colorTerm.value_or("");
    const bool isUnwanted = facts.noColor && !facts.noColor->empty();
    if (mode == ColorMode::never ||
        (mode == ColorMode::automatic && (!facts.isTerminal || isUnwanted || term == "dumb"))) {
        return ColorDepth::none;
    }
    if (facts.isTrueColorConsole || colorTerm == "truecolor" || colorTerm == "24bit" ||
        term.ends_with("-direct")) {
        return ColorDepth::trueColor;
    }
    if (mode == ColorMode::always || term.find("256color") != std::string::npos) {
        return ColorDepth::indexed;
    }
    return ColorDepth::none;
}

ColorMode colorModeNamed(std::string_view name) {
    if (name == "auto") {
        return ColorMode::automatic;
    }
    if (name == "always") {
        return ColorMode::always;
    }
    if (name == "never") {
        return ColorMode::never;
    }
    throw UsageError("--color must be auto, always or never, not '" + std::string(name) + "'");
}

std::string Palette::swatch(const Rgb& color, std::size_t width) const {
    std::string background;
    switch (depth_) {
        case ColorDepth::none:
            return {};
        case ColorDepth::indexed:
            background = "5;" + std::to_string(nearestIndexedColor(color));
            break;
        case ColorDepth::trueColor:
            background = "2;" + std::to_string(color.red) + ";" + std::to_string(color.green) +
                         ";" + std::to_string(color.blue);
            break;
    }
    return "\x1b[48;" + background + "m" + std::string(width, ' ') + std::string(kReset);
}

std::string Palette::faint(std::string_view text) const {
    return hasColors() ? "\x1b[2m" + std::string(text) + std::string(kReset) : std::string(text);
}

std::string Palette::strong(std::string_view text) const {
    return hasColors() ? "\x1b[1m" + std::string(text) + std::string(kReset) : std::string(text);
}

int nearestIndexedColor(const Rgb& color) {
    const int red = nearestLevel(color.red);
    const int green = nearestLevel(color.green);
    const int blue = nearestLevel(color.blue);
    const auto level = [](int index) { return kCubeLevels[static_cast<std::size_t>(index)]; };
    const int cubeDistance = squaredDistance(color, level(red), level(green), level(blue));

    const int mean = (color.red + color.green + color.blue) / 3;
    const int step =
        std::clamp((mean - kDarkestGrey + kGreyStep / 2) / kGreyStep, 0, kGreyCount - 1);
    const int grey = kDarkestGrey + step * kGreyStep;
    return squaredDistance(color, grey, grey, grey) < cubeDistance
               ? kGreyStart + step
               : kCubeStart + 36 * red + 6 * green + blue;
}

}  // namespace cqtool

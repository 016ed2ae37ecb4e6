#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "color/ColorMath.h"

namespace cqtool {

enum class ColorDepth { none, indexed, trueColor };

enum class ColorMode { automatic, always, never };

/// The facts that decide whether output may be coloured.
struct TerminalFacts {
    bool isTerminal = false;
    /// The console itself shows 24-bit colours, whatever the variables say.
    bool isTrueColorConsole = false;
    std::optional<std::string> noColor;    ///< environment NO_COLOR
    std::optional<std::string> colorTerm;  ///< environment COLORTERM
    std::optional<std::string> term;       ///< environment TERM
};

/// Automatic: colours only on a terminal, and not if NO_COLOR is set to anything. Always: at least
/// 256 colours.
ColorDepth chooseColorDepth(ColorMode mode, const TerminalFacts& facts);

/// The mode called "auto", "always" or "never"; throws UsageError for another name.
ColorMode colorModeNamed(std::string_view name);

/// Adds colours to text for a terminal, or leaves them out.
class Palette {
  public:
    explicit Palette(ColorDepth depth) : depth_(depth) {}

    bool hasColors() const { return depth_ != ColorDepth::none; }

    /// The width of a patch in a line or table of results, in columns.
    static constexpr std::size_t kSwatchWidth = 6;

    /// A patch of the colour, this many columns wide; empty without colours.
    std::string swatch(const Rgb& color, std::size_t width) const;

    /// Text that is less or more important than the text around it.
    std::string faint(std::string_view text) const;
    std::string strong(std::string_view text) const;

  private:
    ColorDepth depth_;
};

/// The nearest of a terminal's 256 colours: from its cube of 6 x 6 x 6 (16..231) or its greys
/// (232..255).
int nearestIndexedColor(const Rgb& color);

}  // namespace cqtool

#include "terminal/SpectrumPlot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "text/Numbers.h"

namespace cqtool {
namespace {

constexpr std::size_t kDotsAcross = 2;
constexpr std::size_t kDotsDown = 4;
constexpr std::size_t kValuesPerLine = 8;

/// A canvas of braille characters whose dots are set one by one.
class Canvas {
  public:
    Canvas(std::size_t columns, std::size_t rows)
        : cells_(rows, std::vector<std::uint8_t>(columns)) {}

    void set(std::size_t x, std::size_t y) {
        // The bits of U+2800 and following: dots 1 2 3 7 down the left side, 4 5 6 8 down the
        // right.
        static constexpr std::uint8_t kBits[kDotsDown][kDotsAcross] = {
            {0x01, 0x08}, {0x02, 0x10}, {0x04, 0x20}, {0x40, 0x80}};
        std::uint8_t& cell = cells_[y / kDotsDown][x / kDotsAcross];
        cell = static_cast<std::uint8_t>(cell | kBits[y % kDotsDown][x % kDotsAcross]);
    }

    std::string row(std::size_t index) const {
        std::string text;
        for (const std::uint8_t dots : cells_[index]) {
            text += '\xE2';
            text += static_cast<char>(0xA0 | (dots >> 6));
            text += static_cast<char>(0x80 | (dots & 0x3F));
        }
        return text;
    }

  private:
    std::vector<std::vector<std::uint8_t>> cells_;
};

/// The reflectance at a place 0..1 between the first wavelength and the last.
double interpolated(const Spectrum& spectrum, double place) {
    const double position = place * static_cast<double>(spectrum.size() - 1);
    const auto index = std::min(static_cast<std::size_t>(position), spectrum.size() - 2);
    const double part = position - static_cast<double>(index);
    return spectrum[index] * (1 - part) + spectrum[index + 1] * part;
}

void drawCurve(Canvas& canvas, const Spectrum& spectrum, std::size_t width, std::size_t height) {
    const double top = scaleTop(spectrum);
    const auto dotAt = [&](std::size_t x) {
        const double value =
            interpolated(spectrum, static_cast<double>(x) / static_cast<double>(width - 1));
        const double fromTop =
            (1 - std::clamp(value / top, 0.0, 1.0)) * static_cast<double>(height - 1);
        return static_cast<std::size_t>(std::lround(fromTop));
    };
    std::size_t previous = dotAt(0);
    for (std::size_t x = 0; x < width; ++x) {
        const std::size_t y = dotAt(x);
        // A steep curve would fall apart into dots, so each column reaches towards the one before
        // it.
        const std::size_t from = previous < y ? previous + 1 : y;
        const std::size_t to = previous > y ? previous - 1 : y;
        for (std::size_t dot = std::min(from, y); dot <= std::max(to, y); ++dot) {
            canvas.set(x, dot);
        }
        previous = y;
    }
}

}  // namespace

std::vector<std::string> plotSpectrum(const Spectrum& spectrum, std::size_t columns,
                                      std::size_t rows) {
    Canvas canvas(columns, rows);
    drawCurve(canvas, spectrum, columns * kDotsAcross, rows * kDotsDown);

    std::vector<std::string> lines;
    for (std::size_t row = 0; row < rows; ++row) {
        const std::string label = row == 0          ? fixed(scaleTop(spectrum), 1)
                                  : row == rows - 1 ? fixed(0, 1)
                                                    : "   ";
        lines.push_back(label + (row == 0 || row == rows - 1 ? " ┤" : " │") + canvas.row(row));
    }
    const std::string first = std::to_string(kFirstWavelength);
    const std::string last = std::to_string(kLastWavelength) + " nm";
    const std::size_t gap = columns - std::min(columns, first.size() + 3);
    lines.push_back("     " + first + std::string(gap, ' ') + last);
    return lines;
}

std::vector<std::string> listSpectrum(const Spectrum& spectrum) {
    std::vector<std::string> lines;
    for (std::size_t first = 0; first < spectrum.size(); first += kValuesPerLine) {
        const std::size_t end = std::min(first + kValuesPerLine, spectrum.size());
        std::string line = std::to_string(wavelength(first)) + " nm";
        for (std::size_t i = first; i < end; ++i) {
            line += "  " + fixed(spectrum[i], 4);
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

}  // namespace cqtool

#include <lcms2.h>

#include <array>
#include <cstddef>
#include <string>

#include "Benchmarks.h"
#include "Comparison.h"
#include "cqapi/CQApi.h"
#include "Results.h"

namespace cqbench {
namespace {

constexpr std::size_t kColors = 1000;
constexpr int kRounds = 300;
constexpr std::size_t kWavelengths = 31;
constexpr double kNano = 1e9;

/// Reflectances that differ, so that no branch is always taken.
std::array<std::array<float, kWavelengths>, kColors> makeSpectra() {
    std::array<std::array<float, kWavelengths>, kColors> spectra;
    for (std::size_t color = 0; color < kColors; ++color) {
        for (std::size_t i = 0; i < kWavelengths; ++i) {
            spectra[color][i] = static_cast<float>((color * 7 + i * 13) % 97) / 100.0f;
        }
    }
    return spectra;
}

using Tristimulus = std::array<float, 3>;

std::array<Tristimulus, kColors> makeTristimulus() {
    std::array<Tristimulus, kColors> colors;
    for (std::size_t i = 0; i < kColors; ++i) {
        const auto value = static_cast<float>(i % 100);
        colors[i] = {0.9f * value + 0.2f, value + 0.1f, 0.8f * value + 0.3f};
    }
    return colors;
}

/// Converts every colour by lcms2's cmsXYZ2Lab.
void convertByLcms(const std::array<Tristimulus, kColors>& colors) {
    for (const Tristimulus& color : colors) {
        const cmsCIEXYZ xyz{color[0] / 100.0, color[1] / 100.0, color[2] / 100.0};
        cmsCIELab lab;
        cmsXYZ2Lab(nullptr, &lab, &xyz);
        benchmark::DoNotOptimize(lab);
    }
}

template <class Ours>
void againstLcms(benchmark::State& state, const std::string& what, double goal, Ours&& ours) {
    const auto colors = makeTristimulus();
    const auto times = compare(state, ours, [&] { convertByLcms(colors); });
    results().push_back({.what = what,
                         .unit = "ns",
                         .figure = times.ours / kColors * kNano,
                         .peerName = "lcms2 cmsXYZ2Lab",
                         .peer = times.peers / kColors * kNano,
                         .bound = Bound::atMost,
                         .goal = goal});
}

void xyzToLab(benchmark::State& state) {
    const auto colors = makeTristimulus();
    againstLcms(state, "XYZ to Lab", 0.6, [&] {
        for (const Tristimulus& color : colors) {
            ColorData lab;
            cqGetColorDataFromXyz(IlluminantD65, Observer10Degree, color.data(), ColorSpaceLab,
                                  &lab);
            benchmark::DoNotOptimize(lab);
        }
    });
}

void spectrumToLab(benchmark::State& state, const std::string& what, Illuminant illuminant,
                   double goal) {
    const auto spectra = makeSpectra();
    againstLcms(state, what, goal, [&] {
        for (const auto& spectrum : spectra) {
            ColorData lab;
            cqGetColorDataFromSpectralData(spectrum.data(), ColorSpaceLab, illuminant,
                                           Observer10Degree, &lab);
            benchmark::DoNotOptimize(lab);
        }
    });
}

}  // namespace

void addColorBenchmarks() {
    add("color/xyz", kRounds, xyzToLab);
    add("color/spectrum-10nm", kRounds, [](benchmark::State& state) {
        spectrumToLab(state, "spectrum to Lab, every 10 nm", IlluminantD65, 4);
    });
    add("color/spectrum-5nm", kRounds, [](benchmark::State& state) {
        spectrumToLab(state, "spectrum to Lab, every 5 nm", IlluminantF2, 20);
    });
}

}  // namespace cqbench

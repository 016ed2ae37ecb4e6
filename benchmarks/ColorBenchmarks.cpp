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

/// A standard and a trial not far from it.
struct LabPair {
    ColorData standard;
    ColorData trial;
};

std::array<LabPair, kColors> makePairs() {
    std::array<LabPair, kColors> pairs;
    for (std::size_t i = 0; i < kColors; ++i) {
        const auto spread = [i](std::size_t factor) {
            return static_cast<float>(i * factor % 101) - 50.0f;
        };
        const float l = 55.0f + spread(7) * 0.8f;
        const float a = spread(13) * 1.5f;
        const float b = spread(29) * 1.5f;
        pairs[i] = {{{l, a, b}},
                    {{l + spread(31) * 0.02f, a + spread(37) * 0.04f, b + spread(41) * 0.04f}}};
    }
    return pairs;
}

cmsCIELab toCms(const ColorData& lab) {
    return {lab.values[0], lab.values[1], lab.values[2]};
}

/// One difference, with all its components, against lcms2's CIEDE2000.
void difference(benchmark::State& state, const std::string& what, CqDifferenceFormula formula,
                double goal) {
    const auto pairs = makePairs();
    const auto times = compare(
        state,
        [&] {
            for (const LabPair& pair : pairs) {
                CqColorDifference result;
                cqGetColorDifference(formula, nullptr, &pair.standard, &pair.trial, &result);
                benchmark::DoNotOptimize(result);
            }
        },
        [&] {
            for (const LabPair& pair : pairs) {
                const cmsCIELab standard = toCms(pair.standard);
                const cmsCIELab trial = toCms(pair.trial);
                benchmark::DoNotOptimize(cmsCIE2000DeltaE(&standard, &trial, 1, 1, 1));
            }
        });
    results().push_back({.what = "difference by " + what,
                         .unit = "ns",
                         .figure = times.ours / kColors * kNano,
                         .peerName = "lcms2 cmsCIE2000DeltaE",
                         .peer = times.peers / kColors * kNano,
                         .bound = Bound::atMost,
                         .goal = goal});
}

struct TimedFormula {
    const char* name;
    const char* what;
    CqDifferenceFormula formula;
    double goal;
};

constexpr TimedFormula kTimedFormulas[] = {
    {"color/difference-76", "CIELAB", CqDeltaE76, 0.1},
    {"color/difference-94", "CIE94", CqDeltaE94, 1},
    {"color/difference-94t", "CIE94, textiles", CqDeltaE94Textile, 1},
    {"color/difference-cmc", "CMC", CqDeltaECmc, 1},
    {"color/difference-2000", "CIEDE2000", CqDeltaE2000, 1},
    {"color/difference-99", "DIN99", CqDeltaE99, 1},
    {"color/difference-99o", "DIN99o", CqDeltaE99o, 1},
};

}  // namespace

void addColorBenchmarks() {
    add("color/xyz", kRounds, xyzToLab);
    add("color/spectrum-10nm", kRounds, [](benchmark::State& state) {
        spectrumToLab(state, "spectrum to Lab, every 10 nm", IlluminantD65, 4);
    });
    add("color/spectrum-5nm", kRounds, [](benchmark::State& state) {
        spectrumToLab(state, "spectrum to Lab, every 5 nm", IlluminantF2, 20);
    });
    for (const TimedFormula& timed : kTimedFormulas) {
        add(timed.name, kRounds, [&timed](benchmark::State& state) {
            difference(state, timed.what, timed.formula, timed.goal);
        });
    }
}

}  // namespace cqbench

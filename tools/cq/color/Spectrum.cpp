#include "color/Spectrum.h"

#include <algorithm>

namespace cqtool {

double scaleTop(const Spectrum& spectrum) {
    static constexpr std::array<float, 4> kTops{0.1F, 0.2F, 0.5F, 1.0F};
    const float most = *std::max_element(spectrum.begin(), spectrum.end());
    const auto top = std::find_if(kTops.begin(), kTops.end(),
                                  [most](float candidate) { return most <= candidate; });
    return top == kTops.end() ? kMostPlausible : *top;
}

Spectrum averageOf(const std::vector<Spectrum>& spectra) {
    Spectrum average;
    for (std::size_t i = 0; i < average.size(); ++i) {
        double sum = 0;
        for (const Spectrum& spectrum : spectra) {
            sum += static_cast<double>(spectrum[i]);
        }
        average[i] = static_cast<float>(sum / static_cast<double>(spectra.size()));
    }
    return average;
}

}  // namespace cqtool

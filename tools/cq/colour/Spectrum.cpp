#include "colour/Spectrum.h"

#include <algorithm>

namespace cqtool {

double scaleTop(const Spectrum& spectrum) {
    static constexpr std::array<float, 4> kTops{0.1F, 0.2F, 0.5F, 1.0F};
    const float most = *std::max_element(spectrum.begin(), spectrum.end());
    const auto top = std::find_if(kTops.begin(), kTops.end(),
                                  [most](float candidate) { return most <= candidate; });
    return top == kTops.end() ? kMostPlausible : *top;
}

}  // namespace cqtool

// Judges a dyeing against its standard, from two spectra, without any instrument.
#include <cmath>
#include <cqapi/Color.hpp>
#include <cstdio>

namespace {

// A dye that absorbs around 530 nm, in this concentration, and a little of another around 620 nm.
cqapi::Spectrum dyeing(float concentration, float other) {
    cqapi::Spectrum reflectance{};
    for (std::size_t i = 0; i < reflectance.size(); ++i) {
        const auto band = [i](float peak) {
            const float distance = (400.0F + 10.0F * static_cast<float>(i) - peak) / 60.0F;
            return 1.0F / (1.0F + distance * distance);
        };
        const float ratio = 0.02F + concentration * band(530.0F) + other * band(620.0F);  // K/S
        reflectance[i] = 1.0F + ratio - std::sqrt(ratio * ratio + 2.0F * ratio);
    }
    return reflectance;
}

}  // namespace

int main() {
    const cqapi::Spectrum standard = dyeing(1.0F, 0.10F);
    const cqapi::Spectrum trial = dyeing(1.05F, 0.12F);

    const cqapi::Color standardLab = cqapi::colorFromSpectrum(standard, ColorSpaceLab);
    const cqapi::Color trialLab = cqapi::colorFromSpectrum(trial, ColorSpaceLab);
    const CqColorDifference difference =
        cqapi::colorDifference(standardLab, trialLab, CqDeltaECmc);  // 2:1
    std::printf("CMC %.2f: dL* %+.2f  dC* %+.2f  dH* %+.2f, %s\n", difference.deltaE,
                difference.deltaL, difference.deltaC, difference.deltaH,
                difference.deltaE <= 1.0F ? "pass" : "FAIL");
    std::printf("strength %.1f %%, metamerism from D65 to A %.2f\n",
                cqapi::colorStrength(standard, trial), cqapi::metamerismIndex(standard, trial));
}

// Colours of one spectrum under two illuminants, without any instrument.
#include <cqapi/Color.hpp>
#include <cstdio>

int main() {
    cqapi::Spectrum reflectance{};  // 400, 410 ... 700 nm
    for (std::size_t i = 0; i < reflectance.size(); ++i) {
        reflectance[i] = 0.1F + 0.02F * static_cast<float>(i);
    }
    for (const Illuminant illuminant : {IlluminantD65, IlluminantA}) {
        const cqapi::Color lab = cqapi::colorFromSpectrum(reflectance, ColorSpaceLab, illuminant);
        const cqapi::Color srgb = cqapi::colorFromLab(lab, ColorSpaceSrgb, illuminant);
        std::printf("L* %.2f  a* %.2f  b* %.2f  R %.3f  G %.3f  B %.3f\n", lab[0], lab[1], lab[2],
                    srgb[0], srgb[1], srgb[2]);
    }
}

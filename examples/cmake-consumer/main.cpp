// Says which instrument is on a port and measures once: consumer [PORT]
#include <cqapi/CQApi.hpp>
#include <cstdio>
#include <exception>

int main(int argc, char** argv) try {
    constexpr std::size_t kSpectrumOffset = 64;  // in the virtual instrument's records
    cqapi::Instrument instrument = cqapi::Instrument::open(argc > 1 ? argv[1] : "");
    const cqapi::DeviceInfo info = instrument.deviceInfo();
    std::printf("%s %s\n", info.infoText3.c_str(), info.infoText4.c_str());
    instrument.calibrateWhite();
    instrument.calibrateBlack();
    const cqapi::Spectrum spectrum =
        cqapi::spectrumAt(instrument.measureStandard(), kSpectrumOffset);
    const cqapi::Color lab = cqapi::colorFromSpectrum(spectrum, ColorSpaceLab);
    std::printf("L* %.2f  a* %.2f  b* %.2f\n", lab[0], lab[1], lab[2]);
    return 0;
} catch (const std::exception& failure) {
    std::fprintf(stderr, "consumer: %s\n", failure.what());
    return 1;
}

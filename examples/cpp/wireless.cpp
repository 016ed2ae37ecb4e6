// Lists the wireless instruments within reach and measures with the nearest: wireless ADAPTER-PORT
#include <algorithm>
#include <cqapi/CQApi.hpp>
#include <cstdio>
#include <vector>

constexpr std::size_t kSpectrumOffset = 64;  // in the virtual instrument's records

int main(int argc, char** argv) try {
    if (argc != 2) {
        return std::fprintf(stderr, "usage: wireless ADAPTER-PORT\n"), 2;
    }
    const char* adapter = argv[1];
    const std::vector<cqapi::Slave> slaves = cqapi::scan(adapter);
    for (const cqapi::Slave& slave : slaves) {
        std::printf("%s  %s  %d dBm\n", slave.address.c_str(), slave.name.c_str(), slave.rssi);
    }
    if (slaves.empty()) {
        return std::puts("nobody is within reach"), 1;
    }
    const auto nearest = std::max_element(
        slaves.begin(), slaves.end(),
        [](const auto& left, const auto& right) { return left.rssi < right.rssi; });
    cqapi::Instrument instrument = cqapi::Instrument::openWireless(adapter, nearest->address);
    instrument.calibrateWhite();
    instrument.calibrateBlack();
    const cqapi::Color lab = cqapi::colorFromSpectrum(
        cqapi::spectrumAt(instrument.measureStandard(), kSpectrumOffset), ColorSpaceLab);
    std::printf("%s measured L* %.2f  a* %.2f  b* %.2f\n",
                instrument.deviceInfo().infoText4.c_str(), lab[0], lab[1], lab[2]);
    return 0;
} catch (const cqapi::Error& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}

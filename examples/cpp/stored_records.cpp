// Copies the standards of one instrument to another: stored_records FROM TO
#include <cqapi/CQApi.hpp>
#include <cstdio>
#include <vector>

int main(int argc, char** argv) {
    if (argc != 3) {
        return std::fprintf(stderr, "usage: stored_records FROM-PORT TO-PORT\n"), 2;
    }
    try {
        cqapi::Instrument from = cqapi::Instrument::open(argv[1]);
        cqapi::Instrument to = cqapi::Instrument::open(argv[2]);
        const std::vector<cqapi::MeasurementRecord> standards = from.uploadStandards();
        to.downloadStandards(standards);
        std::printf("copied %zu; %s now has %u\n", standards.size(),
                    to.deviceInfo().infoText4.c_str(), to.totalStandards());
    } catch (const cqapi::Error& error) {
        if (error.code() == CQ_NO_ENOUGH_STORAGE) {
            std::fprintf(stderr, "nothing was copied: they do not all fit\n");
        } else {
            std::fprintf(stderr, "%s\n", error.what());
        }
        return 1;
    }
    return 0;
}

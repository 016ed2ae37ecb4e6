#include <cqapi/CQApi.h>
#include <stdio.h>
#include <string.h>

#define SPECTRUM_OFFSET 64 /* in the virtual instrument's records */

int main(int argc, char** argv) {
    const char* port = argc > 1 ? argv[1] : NULL; /* NULL: find the instrument */
    CqHandle instrument;
    CqMeasurementRecord record;
    float spectrum[31];
    ColorData lab;
    uint32_t code = cqOpenWithin(port, 5000, &instrument);
    code = code == CQ_NO_ERROR ? cqCalibrateWhite(instrument) : code;
    code = code == CQ_NO_ERROR ? cqCalibrateBlack(instrument) : code;
    code = code == CQ_NO_ERROR ? cqMeasureStandard(instrument, &record) : code;
    cqClose(instrument);
    if (code != CQ_NO_ERROR) {
        return printf("%s (%u)\n", cqGetResultText(code), (unsigned)code), 1;
    }
    memcpy(spectrum, record.bytes + SPECTRUM_OFFSET, sizeof spectrum);
    cqGetColorDataFromSpectralData(spectrum, ColorSpaceLab, IlluminantD65, Observer10Degree, &lab);
    printf("L* %.2f  a* %.2f  b* %.2f\n", lab.values[0], lab.values[1], lab.values[2]);
    return 0;
}

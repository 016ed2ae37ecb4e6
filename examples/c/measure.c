#include <cqapi/CQApi.h>
#include <stdio.h>
#include <string.h>

int main(int argc, char** argv) {
    CqHandle instrument = cqOpen(argc > 1 ? argv[1] : NULL); /* NULL: find the instrument */
    CqMeasurementRecord record;
    float spectrum[31];
    ColorData lab;
    if (cqCalibrateWhite(instrument) == CQ_NO_ERROR &&
        cqCalibrateBlack(instrument) == CQ_NO_ERROR &&
        cqMeasureStandard(instrument, &record) == CQ_NO_ERROR) {
        memcpy(spectrum, record.bytes + 64,
               sizeof spectrum); /* where the virtual instrument has it */
        cqGetColorDataFromSpectralData(spectrum, ColorSpaceLab, IlluminantD65, Observer10Degree,
                                       &lab);
        printf("L* %.2f  a* %.2f  b* %.2f\n", lab.values[0], lab.values[1], lab.values[2]);
    }
    cqClose(instrument);
    return 0;
}

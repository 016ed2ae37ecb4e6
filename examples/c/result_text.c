/* Tells in words what a call returned. */
#include <cqapi/CQApi.h>
#include <stdio.h>

int main(int argc, char** argv) {
    CqMeasurementRecord record;
    CqHandle instrument;
    cqOpenWithin(argc > 1 ? argv[1] : NULL, 5000, &instrument);
    const uint32_t code = cqMeasureStandard(instrument, &record);
    printf("measuring: %s (%u)\n", cqGetResultText(code), (unsigned)code);
    cqClose(instrument);
    return 0;
}

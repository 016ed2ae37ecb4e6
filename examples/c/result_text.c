/* Tells in words what a call returned. */
#include <cqapi/CQApi.h>
#include <stdio.h>

int main(int argc, char** argv) {
    CqHandle instrument = cqOpen(argc > 1 ? argv[1] : NULL);
    CqMeasurementRecord record;
    const uint32_t code = cqMeasureStandard(instrument, &record);
    printf("measuring: %s (%u)\n", cqGetResultText(code), (unsigned)code);
    cqClose(instrument);
    return 0;
}

/* Reads the stored standards, a portion at a time. */
#include <cqapi/CQApi.h>
#include <stdio.h>

#define PORTION 50

int main(int argc, char** argv) {
    CqHandle instrument;
    CqMeasurementRecord records[PORTION];
    uint32_t total = 0;
    uint32_t first = 0;
    uint32_t code = cqOpenWithin(argc > 1 ? argv[1] : NULL, 5000, &instrument);
    code = code == CQ_NO_ERROR ? cqGetTotalStandards(instrument, &total) : code;
    while (code == CQ_NO_ERROR && first < total) {
        const uint32_t count = total - first < PORTION ? total - first : PORTION;
        code = cqUploadStandards(instrument, records, first, count);
        first += count;
    }
    cqClose(instrument);
    if (code != CQ_NO_ERROR) {
        return printf("%s (%u)\n", cqGetResultText(code), (unsigned)code), 1;
    }
    printf("standards read: %u\n", (unsigned)total);
    return 0;
}

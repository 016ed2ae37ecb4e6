/* Writes the bytes on the line to the debug log. */
#include <cqapi/CQApi.h>
#include <stdio.h>

int main(int argc, char** argv) {
    CqHandle instrument;
    CqInstrumentStatus status;
    uint32_t code;
    if (!cqEnableDebugLog()) {
        puts("no log: the folder of the library cannot be written to");
    }
    code = cqOpenWithin(argc > 1 ? argv[1] : NULL, 5000, &instrument);
    code = code == CQ_NO_ERROR ? cqGetInstrumentStatus(instrument, &status) : code;
    cqClose(instrument);
    cqDiableDebugLog();
    printf("code %u\n", (unsigned)code);
    return code != CQ_NO_ERROR;
}

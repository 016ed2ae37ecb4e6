/* Gives a result code its text: the library has no function for it. */
#include <cqapi/CQApi.h>
#include <stdio.h>

static const char* resultText(uint32_t code) {
    static const char* const texts[] = {
        "no error",          "cannot found device", "fail to open",
        "device is closed",  "no session",          "device is busy",
        "sending timeout",   "receiving timeout",   "execute command failed",
        "system error",      "invalid packet",      "unexpected command",
        "uncalibrated",      "the storage is full", "fail to calibrate",
        "no enough storage", "invalid parameter",   "not supported",
        "has connected",     "unknown error"};
    return texts[code < CQ_UNKNOWN_ERROR ? code : CQ_UNKNOWN_ERROR];
}

int main(int argc, char** argv) {
    CqHandle instrument = cqOpen(argc > 1 ? argv[1] : NULL);
    CqMeasurementRecord record;
    const uint32_t code = cqMeasureStandard(instrument, &record);
    printf("measuring: %s (%u)\n", resultText(code), (unsigned)code);
    cqClose(instrument);
    return 0;
}

/* Opens an instrument within five seconds, and says why it could not. */
#include <cqapi/CQApi.h>
#include <stdio.h>

int main(int argc, char** argv) {
    const char* port = argc > 1 ? argv[1] : NULL;
    CqHandle instrument;
    const uint32_t code = cqOpenWithin(port, 5000, &instrument);
    printf("opening: %s (%u)\n", cqGetResultText(code), (unsigned)code);
    cqClose(instrument); /* null when it failed: ignored */
    return code == CQ_NO_ERROR ? 0 : 1;
}

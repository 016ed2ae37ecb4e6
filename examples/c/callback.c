/* Receives measurements made with the instrument's own button. */
#include <cqapi/CQApi.h>
#include <stdio.h>
#include <string.h>

#define MOST_RECORDS 100

struct Received {
    CqMeasurementRecord records[MOST_RECORDS];
    int count;
};

/* Runs on a thread of the library: copies the record, which is valid only during the call. */
static void receive(bool isStandard, const CqMeasurementRecord* record, void* user) {
    struct Received* received = user;
    (void)isStandard;
    if (received->count < MOST_RECORDS) {
        memcpy(&received->records[received->count], record, sizeof *record);
        ++received->count;
    }
}

int main(int argc, char** argv) {
    static struct Received received;
    CqHandle instrument;
    cqOpenWithin(argc > 1 ? argv[1] : NULL, 5000, &instrument);
    if (cqSetMeasurementResultReceivedCallback(instrument, receive, &received) != CQ_NO_ERROR) {
        return puts("no instrument"), 1;
    }
    puts("Press the instrument's button; Enter here ends.");
    getchar();

    /* Measurements arrive until this returns; then the callback has ended and is not called again. */
    cqClose(instrument);
    printf("measurements received: %d\n", received.count);
    return 0;
}

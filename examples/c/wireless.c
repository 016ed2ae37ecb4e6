/* Lists the wireless instruments within reach of an adapter and opens the nearest. */
#include <cqapi/CQApi.h>
#include <stdio.h>

/* The element with the strongest signal; the list ends with an element of zeros. */
static const CqBleSlave* nearest(const CqBleSlave* slaves) {
    const CqBleSlave* best = slaves;
    const CqBleSlave* slave;
    for (slave = slaves; slave->rssi != 0; ++slave) {
        printf("%-16s %-16s %d dBm\n", slave->name, slave->address, (int)slave->rssi);
        best = slave->rssi > best->rssi ? slave : best;
    }
    return best;
}

int main(int argc, char** argv) {
    CqBleSlave* slaves = NULL;
    CqHandle instrument = NULL;
    CqInstrumentStatus status;
    uint32_t code;
    if (argc != 2) {
        return fputs("usage: wireless ADAPTER-PORT\n", stderr), 2;
    }
    code = cqScanBleSlaves(argv[1], &slaves);
    if (code != CQ_NO_ERROR || slaves == NULL) {
        return printf("nobody was heard (code %u)\n", (unsigned)code), 1;
    }
    code = cqOpenByBleDongleWithin(argv[1], nearest(slaves)->address, 8000, &instrument);
    cqFree(slaves);
    code = code == CQ_NO_ERROR ? cqGetInstrumentStatus(instrument, &status) : code;
    cqClose(instrument);
    if (code != CQ_NO_ERROR) {
        return printf("%s (%u)\n", cqGetResultText(code), (unsigned)code), 1;
    }
    printf("battery %u %%\n", (unsigned)status.item14);
    return 0;
}

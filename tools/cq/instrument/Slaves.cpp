#include "instrument/Slaves.h"

#include <algorithm>
#include <memory>

#include "Failure.h"
#include "ResultText.h"
#include "system/Ports.h"
#include "terminal/StatusLine.h"
#include "text/Text.h"

namespace cqtool {
namespace {

struct Release {
    void operator()(CqBleSlave* list) const { cqFree(list); }
};

bool isEnd(const CqBleSlave& entry) {
    return entry.name[0] == '\0' && entry.address[0] == '\0' && entry.rssi == 0;
}

}  // namespace

std::vector<Slave> slavesOf(const CqBleSlave* list) {
    std::vector<Slave> slaves;
    for (; list != nullptr && !isEnd(*list); ++list) {
        slaves.push_back({printableText(list->name, sizeof list->name),
                          printableText(list->address, sizeof list->address), list->rssi});
    }
    // The library connects to the first of equals.
    std::stable_sort(slaves.begin(), slaves.end(),
                     [](const Slave& one, const Slave& other) { return one.rssi > other.rssi; });
    return slaves;
}

std::vector<Slave> scanSlaves(const std::string& adapterPort) {
    const StatusLine status("scanning for wireless instruments through " + adapterPort);
    CqBleSlave* found = nullptr;
    const std::uint32_t code = cqScanBleSlaves(adapterPort.c_str(), &found);
    const std::unique_ptr<CqBleSlave, Release> list(found);
    if (code == CQ_FAIL_TO_OPEN) {
        throw Failure(failureText(code, Operation::scan),
                      adviceForFailedOpen(adapterPort, PortUse::adapter));
    }
    check(code, Operation::scan);
    return slavesOf(list.get());
}

}  // namespace cqtool

#include "instrument/Slaves.h"

#include <algorithm>

#include "cqapi/CQApi.hpp"
#include "Failure.h"
#include "ResultText.h"
#include "system/Ports.h"
#include "terminal/StatusLine.h"
#include "text/Text.h"

namespace cqtool {

std::vector<Slave> scanSlaves(const std::string& adapterPort) {
    const StatusLine status("scanning for wireless instruments through " + adapterPort);
    std::vector<Slave> slaves;
    try {
        for (const cqapi::Slave& found : cqapi::scan(adapterPort)) {
            slaves.push_back({shown(found.name), shown(found.address), found.rssi});
        }
    } catch (const cqapi::Error& error) {
        throw Failure(failureText(error.code(), Operation::scan),
                      error.code() == CQ_FAIL_TO_OPEN
                          ? adviceForFailedOpen(adapterPort, PortUse::adapter)
                          : advice(error.code(), Operation::scan));
    }
    // The library connects to the first of equals.
    std::stable_sort(slaves.begin(), slaves.end(),
                     [](const Slave& one, const Slave& other) { return one.rssi > other.rssi; });
    return slaves;
}

}  // namespace cqtool

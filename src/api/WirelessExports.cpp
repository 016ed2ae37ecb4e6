// The export that lists wireless instruments.

#include <algorithm>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "ble/EhMc17AtInterface.h"
#include "cqapi/CQApi.h"

using ovk::SlaveDevice;

namespace {

/// Copies a text with its NUL. One that does not fit leaves the field empty: the name of an
/// unrelated device must not spoil a scan.
void copyText(const std::string& text, std::span<char> field) {
    if (text.size() < field.size()) {
        std::copy(text.begin(), text.end(), field.begin());
    }
}

/// A block for cqFree(), with an entry of zeros at its end. Null if there is no memory.
CqBleSlave* makeList(const std::vector<SlaveDevice>& slaves) {
    auto* const list = static_cast<CqBleSlave*>(std::calloc(slaves.size() + 1, sizeof(CqBleSlave)));
    for (std::size_t i = 0; list != nullptr && i < slaves.size(); ++i) {
        copyText(slaves[i].name, list[i].name);
        copyText(slaves[i].address, list[i].address);
        list[i].rssi = slaves[i].rssi;
    }
    return list;
}

}  // namespace

uint32_t cqScanBleSlaves(const char* adapterPortName, CqBleSlave** slaves) {
    *slaves = nullptr;
    if (adapterPortName == nullptr) {
        return CQ_INVALID_PARAMETER;
    }
    const auto port = ovk::makeAdapterPort(adapterPortName);
    if (!port->open()) {
        return CQ_FAIL_TO_OPEN;
    }
    ovk::EhMc17AtInterface adapter(port);
    if (!adapter.configure()) {
        port->close();
        return CQ_SYSTEM_ERROR;
    }
    const std::vector<SlaveDevice> found = adapter.scan();
    port->close();
    if (found.empty()) {
        return CQ_NO_ERROR;
    }
    *slaves = makeList(found);
    return *slaves != nullptr ? CQ_NO_ERROR : CQ_SYSTEM_ERROR;
}

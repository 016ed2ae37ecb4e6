#pragma once

#include <string>

#include "endtoend/Wired.h"

namespace cqtest {

// The second of the usual instruments within an adapter's reach.
inline constexpr const char* kStrongestSerial = "VI-000002";

struct Adapter : VirtualInstrument {
    explicit Adapter(const std::string& options = {}, const std::string& slaves = {})
        : VirtualInstrument("--adapter " + options, slaves) {}
};

/// An adapter and the library's connection to the first instrument within its reach. Connecting
/// takes 1.4 s, so a test checks all that it can on one.
struct Wireless {
    explicit Wireless(const std::string& options = {}, const std::string& slaves = {})
        : adapter(options, slaves), handle(openWireless(adapter.portName())) {
        EXPECT_NE(static_cast<CqHandle>(handle), nullptr);
    }

    Adapter adapter;
    Handle handle;
};

/// What a scan gives.
struct Scan {
    explicit Scan(const char* portName) : code(cqScanBleSlaves(portName, &list)) {}
    ~Scan() { cqFree(list); }
    Scan(const Scan&) = delete;
    Scan& operator=(const Scan&) = delete;

    CqBleSlave* list = reinterpret_cast<CqBleSlave*>(this);  // anything but null
    std::uint32_t code;
};

inline std::string serialOf(CqHandle handle) {
    CqDeviceInfo info;
    return cqGetDeviceInfo(handle, &info) == CQ_NO_ERROR ? info.infoText4 : "";
}

}  // namespace cqtest

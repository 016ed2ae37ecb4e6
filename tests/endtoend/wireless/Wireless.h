#pragma once

#include <string>

#include "endtoend/Wired.h"

namespace cqtest {

// The usual instruments within an adapter's reach. The second one has the strongest signal.
inline constexpr const char* kFirstAddress = "C4BE84A1B2C3";
inline constexpr const char* kStrongestSerial = "VI-000002";

/// An adapter that, if not told otherwise, answers soon.
class Adapter : public VirtualInstrument {
  public:
    explicit Adapter(const std::string& options = {}, const std::string& slaves = {})
        : VirtualInstrument("--adapter " + withSoonAnswers(options), slaves) {}

  private:
    static std::string withSoonAnswers(const std::string& options) {
        return options.find("--at-delay") == std::string::npos ? "--at-delay 2 " + options
                                                               : options;
    }
};

/// An adapter and the library's connection to the first instrument within its reach. Connecting
/// takes 1.4 s, so a test checks all that it can on one.
struct Wireless {
    explicit Wireless(const std::string& options = {}, const std::string& slaves = {})
        : adapter(options, slaves), handle(adapter.portName(), kFirstAddress) {
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

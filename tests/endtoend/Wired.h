#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "cqapi/CQApi.h"
#include "endtoend/NumberedRecords.h"
#include "peer/OpenWireless.h"
#include "peer/VirtualInstrument.h"
#include "peer/WaitUntil.h"

namespace cqtest {

/// An open handle that is closed at the end of its scope.
class Handle {
  public:
    explicit Handle(CqHandle handle) : handle_(handle) {}
    explicit Handle(const char* portName) : handle_(cqOpen(portName)) {}
    Handle(const char* adapterPortName, const char* slaveAddress)
        : handle_(openWireless(adapterPortName, slaveAddress)) {}
    ~Handle() { cqClose(handle_); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    operator CqHandle() const { return handle_; }
    void close() {
        cqClose(handle_);
        handle_ = nullptr;
    }

  private:
    CqHandle handle_;
};

/// A virtual instrument and the library's connection to it.
struct Wired {
    explicit Wired(const std::string& options = {})
        : instrument(options), handle(instrument.portName()) {
        EXPECT_NE(static_cast<CqHandle>(handle), nullptr);
    }

    VirtualInstrument instrument;
    Handle handle;
};

/// Closes the handle while a measurement waits, and gives what that came to.
template <class Wait>
std::uint32_t closeWhileMeasuring(CqHandle handle, const Wait& untilItMeasures) {
    std::atomic<std::uint32_t> code{99};
    std::thread caller([&] {
        CqMeasurementRecord record;
        code = cqMeasureStandard(handle, &record);
    });
    untilItMeasures();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));  // for other calls to begin
    const auto start = std::chrono::steady_clock::now();
    cqClose(handle);
    caller.join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_FALSE(cqIsValidHandle(handle));
    return code;
}

inline std::uint32_t totalStandards(CqHandle handle) {
    std::uint32_t count = 99;
    EXPECT_EQ(cqGetTotalStandards(handle, &count), CQ_NO_ERROR);
    return count;
}

}  // namespace cqtest

inline bool operator==(const CqMeasurementRecord& left, const CqMeasurementRecord& right) {
    return std::memcmp(&left, &right, sizeof(left)) == 0;
}

inline void PrintTo(const CqMeasurementRecord& record, std::ostream* stream) {
    *stream << "record "
            << testing::PrintToString(std::vector<int>(record.bytes, record.bytes + 16));
}

#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "cqapi/CQApi.h"
#include "endtoend/NumberedRecords.h"
#include "peer/VirtualInstrument.h"
#include "peer/WaitUntil.h"

namespace cqtest {

/// An open handle that is closed at the end of its scope.
class Handle {
  public:
    explicit Handle(const char* portName) : handle_(cqOpen(portName)) {}
    Handle(const char* adapterPortName, const char* slaveAddress)
        : handle_(cqOpenByBleDongle(adapterPortName, slaveAddress)) {}
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

    void calibrate() {
        ASSERT_EQ(cqCalibrateWhite(handle), CQ_NO_ERROR);
        ASSERT_EQ(cqCalibrateBlack(handle), CQ_NO_ERROR);
    }

    VirtualInstrument instrument;
    Handle handle;
};

/// The result of a call that is repeated while a transfer of the instrument's stands in its way.
template <typename Call>
std::uint32_t onceFree(Call call) {
    std::uint32_t code = CQ_DEVICE_IS_BUSY;
    waitUntil([&] {
        code = call();
        return code != CQ_DEVICE_IS_BUSY;
    });
    return code;
}

}  // namespace cqtest

inline bool operator==(const CqMeasurementRecord& left, const CqMeasurementRecord& right) {
    return std::memcmp(&left, &right, sizeof(left)) == 0;
}

inline void PrintTo(const CqMeasurementRecord& record, std::ostream* stream) {
    *stream << "record "
            << testing::PrintToString(std::vector<int>(record.bytes, record.bytes + 16));
}

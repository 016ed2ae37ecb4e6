#pragma once

#include "cqapi/CQApi.h"
#include "faults/Matrix.h"

namespace cqtest::faults {

/// The first wireless instrument within reach has the serial number of the wired one.
inline CqHandle connect(Kind kind, const char* portName) {
    return kind == Kind::wired ? cqOpen(portName) : cqOpenByBleDongle(portName, kFirstAddress);
}

}  // namespace cqtest::faults

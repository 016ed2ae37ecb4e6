#pragma once

#include "cqapi/CQApi.h"
#include "peer/VirtualInstrument.h"

namespace cqtest {

/// Opens the wireless instrument. An adapter's module has 100 ms for some answers, which a machine
/// with much else to do may miss: then it is tried again.
inline CqHandle openWireless(const char* adapterPortName, const char* address = kFirstAddress,
                             decltype(&cqOpenByBleDongle) open = &cqOpenByBleDongle) {
    CqHandle handle = nullptr;
    for (int attempt = 0; handle == nullptr && attempt < 3; ++attempt) {
        handle = open(adapterPortName, address);
    }
    return handle;
}

}  // namespace cqtest

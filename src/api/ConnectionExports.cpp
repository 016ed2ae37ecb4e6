// Exports that open and close instruments and the debug log.

#include <chrono>
#include <cstdlib>
#include <optional>

#include "api/DebugLog.h"
#include "api/InstrumentRegistry.h"
#include "api/Module.h"
#include "cqapi/CQApi.h"

using ovk::cq::Instrument;
using ovk::cq::InstrumentRegistry;

namespace {

/// \param milliseconds from now; 0xFFFFFFFF is no limit.
ovk::Deadline deadlineIn(uint32_t milliseconds) {
    return milliseconds == UINT32_MAX ? ovk::Deadline()
                                      : ovk::Deadline::in(std::chrono::milliseconds(milliseconds));
}

}  // namespace

CqHandle cqOpen(const char* portName) {
    CqHandle handle = nullptr;
    openInstrument(Instrument::Kind::wired, portName, nullptr, std::nullopt, handle);
    return handle;
}

CqHandle cqOpenByBleDongle(const char* adapterPortName, const char* slaveAddress) {
    CqHandle handle = nullptr;
    openInstrument(Instrument::Kind::wireless, adapterPortName, slaveAddress, std::nullopt, handle);
    return handle;
}

uint32_t cqOpenWithin(const char* portName, uint32_t milliseconds, CqHandle* handle) {
    return openInstrument(Instrument::Kind::wired, portName, nullptr, deadlineIn(milliseconds),
                          *handle);
}

uint32_t cqOpenByBleDongleWithin(const char* adapterPortName, const char* slaveAddress,
                                 uint32_t milliseconds, CqHandle* handle) {
    return openInstrument(Instrument::Kind::wireless, adapterPortName, slaveAddress,
                          deadlineIn(milliseconds), *handle);
}

void cqClose(CqHandle handle) {
    InstrumentRegistry::instance().close(handle);
}

bool cqIsValidHandle(CqHandle handle) {
    return InstrumentRegistry::instance().find(handle) != nullptr;
}

void cqFree(void* memory) {
    std::free(memory);
}

bool cqEnableDebugLog(void) {
    return ovk::debuglog::open(ovk::module::path() + ".log");
}

bool cqDiableDebugLog(void) {
    ovk::debuglog::close();
    return true;
}

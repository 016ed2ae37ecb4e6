// Exports that open and close instruments and the debug log.

#include <cstdlib>

#include "api/DebugLog.h"
#include "api/InstrumentRegistry.h"
#include "api/Module.h"
#include "cqapi/CQApi.h"

using ovk::cq::Instrument;
using ovk::cq::InstrumentRegistry;

CqHandle cqOpen(const char* portName) {
    return ovk::cq::openInstrument(Instrument::Kind::wired, portName, nullptr);
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

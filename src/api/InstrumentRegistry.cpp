#include "api/InstrumentRegistry.h"

#include <algorithm>
#include <string>
#include <utility>

#include "api/Module.h"

namespace ovk::cq {
namespace {

auto isNamedBy(const void* handle) {
    return [handle](const auto& reference) { return reference.get() == handle; };
}

std::string textOrEmpty(const char* text) {
    return text == nullptr ? std::string() : text;
}

}  // namespace

InstrumentRegistry& InstrumentRegistry::instance() {
    static InstrumentRegistry registry;
    return registry;
}

InstrumentRegistry::~InstrumentRegistry() {
    if (module::isProcessEnding()) {
        // The threads that the instruments would wait for are gone without having ended: leave
        // everything to the system.
        static_cast<void>(std::make_unique<Instruments>(std::move(instruments_)).release());
        static_cast<void>(std::make_unique<Instruments>(std::move(retired_)).release());
    }
}

InstrumentRegistry::Reference InstrumentRegistry::find(const void* handle) const {
    const std::lock_guard lock(mutex_);
    const auto found = std::find_if(instruments_.begin(), instruments_.end(), isNamedBy(handle));
    return found == instruments_.end() ? nullptr : *found;
}

void InstrumentRegistry::add(Reference instrument) {
    const std::lock_guard lock(mutex_);
    instruments_.push_back(std::move(instrument));
}

void InstrumentRegistry::remove(const void* handle) {
    // Destroyed, if it was the last reference, after the lock has been released.
    const Instruments removed = take(handle);
}

void InstrumentRegistry::retire(const void* handle) {
    Instruments removed = take(handle);
    const std::lock_guard lock(mutex_);
    retired_.splice(retired_.end(), removed);
}

void InstrumentRegistry::releaseRetired() {
    Instruments released;
    const std::lock_guard lock(mutex_);
    released.swap(retired_);
}

InstrumentRegistry::Instruments InstrumentRegistry::take(const void* handle) {
    Instruments taken;
    const std::lock_guard lock(mutex_);
    const auto found = std::find_if(instruments_.begin(), instruments_.end(), isNamedBy(handle));
    if (found != instruments_.end()) {
        taken.splice(taken.end(), instruments_, found);
    }
    return taken;
}

void* openInstrument(Instrument::Kind kind, const char* portName, const char* slaveAddress) {
    InstrumentRegistry& registry = InstrumentRegistry::instance();
    registry.releaseRetired();
    const auto instrument = std::make_shared<Instrument>(kind);
    if (instrument->open(textOrEmpty(portName), textOrEmpty(slaveAddress)) != CQ_NO_ERROR) {
        return nullptr;
    }
    registry.add(instrument);
    return instrument.get();
}

}  // namespace ovk::cq

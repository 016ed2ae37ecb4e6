#include "api/InstrumentRegistry.h"

#include <algorithm>
#include <utility>

#include "api/Module.h"

namespace ovk::cq {
namespace {

auto isNamedBy(const void* handle) {
    return [handle](const auto& reference) { return reference.get() == handle; };
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
        static_cast<void>(new Instruments(std::move(instruments_)));
        static_cast<void>(new Instruments(std::move(retired_)));
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
    // Destroyed, if it was the last reference, after the lock has been let go.
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

}  // namespace ovk::cq

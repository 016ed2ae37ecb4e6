#include "api/InstrumentRegistry.h"

#include <algorithm>
#include <string>
#include <utility>

#include "api/Module.h"
#include "api/NeverDestroyed.h"

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
    static NeverDestroyed<InstrumentRegistry> registry;
    static const struct AtExit {
        AtExit() {
            module::callInForkedChild([] { registry.renew(); });
        }
        ~AtExit() { registry->releaseAll(); }
    } atExit;
    return *registry;
}

InstrumentRegistry::Reference InstrumentRegistry::find(const void* handle) {
    if (module::isProcessEnding()) {
        return nullptr;
    }
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

void InstrumentRegistry::close(const void* handle) {
    const auto instrument = find(handle);
    if (!instrument) {
        return;
    }
    if (instrument->isInCallback()) {
        // Closing waits for the callback's end, which would wait for itself.
        instrument->setMeasurementCallback(nullptr, nullptr);
        Instruments retired = take(handle);
        const std::lock_guard lock(mutex_);
        retired_.splice(retired_.end(), retired);
        return;
    }
    instrument->close();
    remove(handle);
    releaseRetired();
}

void InstrumentRegistry::releaseAll() {
    if (module::isProcessEnding()) {
        return;  // the threads that closing waits for are gone
    }
    {
        const std::lock_guard lock(mutex_);
        retired_.splice(retired_.end(), instruments_);
    }
    releaseRetired();
}

void InstrumentRegistry::releaseRetired() {
    Instruments released;
    const std::lock_guard lock(mutex_);
    for (auto next = retired_.begin(); next != retired_.end();) {
        const auto entry = next++;
        if (!(*entry)->isInCallback()) {
            released.splice(released.end(), retired_, entry);
        }
    }
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

ResultCode openInstrument(Instrument::Kind kind, const char* portName, const char* slaveAddress,
                          std::optional<Deadline> deadline, void*& handle) {
    handle = nullptr;
    InstrumentRegistry& registry = InstrumentRegistry::instance();
    registry.releaseRetired();
    const auto instrument = std::make_shared<Instrument>(kind);
    const ResultCode code =
        instrument->open(textOrEmpty(portName), textOrEmpty(slaveAddress), deadline);
    if (code == CQ_NO_ERROR) {
        registry.add(instrument);
        handle = instrument.get();
    }
    return code;
}

}  // namespace ovk::cq

#pragma once

#include <list>
#include <memory>
#include <mutex>

#include "instrument/Instrument.h"

namespace ovk::cq {

/// Keeps the open instruments alive and finds them by handle, which is an instrument's address.
/// There is one in a process. Every operation may be called from any thread; the lock is held for
/// the list alone, never while an instrument works.
class InstrumentRegistry {
  public:
    using Reference = std::shared_ptr<Instrument>;

    static InstrumentRegistry& instance();

    /// Empty if no open instrument has this handle.
    Reference find(const void* handle) const;
    void add(Reference instrument);
    /// Does nothing if no open instrument has this handle.
    void remove(const void* handle);

    /// As remove(), for an instrument that is being closed on its own receiving thread: that thread
    /// cannot wait for its own end, so the instrument is kept until another thread opens or closes
    /// one.
    void retire(const void* handle);
    /// Lets go of retired instruments. Not on the receiving thread of one of them.
    void releaseRetired();

  private:
    using Instruments = std::list<Reference>;

    InstrumentRegistry() = default;
    ~InstrumentRegistry();
    /// Takes the handle's entry out of the list, as a list of one; empty if there is none.
    Instruments take(const void* handle);

    mutable std::mutex mutex_;
    Instruments instruments_;
    Instruments retired_;
};

/// Opens an instrument and registers it.
/// \param portName,slaveAddress as Instrument::open(); null counts as empty.
/// \return its handle; null on failure.
void* openInstrument(Instrument::Kind kind, const char* portName, const char* slaveAddress);

}  // namespace ovk::cq

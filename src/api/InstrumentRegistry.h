#pragma once

#include <list>
#include <memory>
#include <mutex>

#include "instrument/Instrument.h"

namespace ovk::cq {

/// Keeps the open instruments alive and finds them by handle, which is an instrument's address.
/// There is one in a process, made at its first use; at the process's end it lets go of every
/// instrument, and is empty from then on. The child of a fork begins with an empty one.
///
/// Every operation may be called from any thread; the lock is held for the list alone, never while
/// an instrument works.
class InstrumentRegistry {
  public:
    using Reference = std::shared_ptr<Instrument>;

    static InstrumentRegistry& instance();

    /// Empty if no open instrument has this handle.
    Reference find(const void* handle);
    void add(Reference instrument);
    /// Does nothing if no open instrument has this handle.
    void remove(const void* handle);

    /// Closes the instrument of this handle and removes it. An instrument that is closed in its own
    /// callback is let go of at the next opening or closing outside of it.
    void close(const void* handle);
    /// Lets go of every instrument, but for those in whose callback this is called.
    void releaseAll();
    /// Lets go of the instruments that were closed in their own callbacks.
    void releaseRetired();

  private:
    using Instruments = std::list<Reference>;

    /// Takes the handle's entry out of the list, as a list of one; empty if there is none.
    Instruments take(const void* handle);

    std::mutex mutex_;
    Instruments instruments_;
    Instruments retired_;
};

/// Opens an instrument and registers it.
/// \param portName,slaveAddress,deadline as Driver::open(); null counts as empty.
/// \param handle receives its handle; null on failure.
ResultCode openInstrument(Instrument::Kind kind, const char* portName, const char* slaveAddress,
                          std::optional<Deadline> deadline, void*& handle);

}  // namespace ovk::cq

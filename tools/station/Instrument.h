#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "cqapi/CQApi.h"
#include "instrument/VirtualInstrument.h"
#include "job/Job.h"

namespace station {

/// Where an instrument is to be found. All members but the name may be empty.
struct Place {
    std::string name;    ///< what the station calls it
    std::string port;    ///< a wired one's
    std::string serial;  ///< a wired one's serial number: it may be on any port
    bool isWireless = false;
    std::string adapter;  ///< the port of a wireless one's adapter
    std::string slave;    ///< a wireless one's address
    bool isVirtual = false;
    std::string virtualOptions;
    std::string job;  ///< the name of the job that it begins with

    const char* kind() const { return isVirtual ? "virtual" : isWireless ? "wireless" : "wired"; }
};

/// An open instrument. One thread uses it; close() may be called by another.
class Instrument {
  public:
    /// Called on a thread of the library for each measurement made with the button.
    using Pressed = std::function<void(bool isStandard, const CqMeasurementRecord& record)>;

    /// Opens a port; nothing if there is no instrument on it.
    static std::unique_ptr<Instrument> open(const Place& place, const std::string& port);

    ~Instrument();
    Instrument(const Instrument&) = delete;
    Instrument& operator=(const Instrument&) = delete;

    const std::string& port() const { return port_; }
    const cqtool::InstrumentIdentity& identity() const { return identity_; }

    /// Throws cqtool::Failure; so do the others.
    void listen(Pressed pressed);
    void calibrate(bool isWhite);
    CqMeasurementRecord measure(bool isStandard);

    /// Whether the port is still there.
    bool isThere() const;
    /// Asks the instrument whether it still knows of this connection.
    bool isAnswering();

    /// Ends a running call, too.
    void close() { cqClose(handle_); }

  private:
    Instrument(CqHandle handle, bool isWireless, std::string port);

    CqHandle handle_;
    bool isWireless_;
    std::string port_;
    std::string device_;  ///< the port without links
    cqtool::InstrumentIdentity identity_;
    Pressed pressed_;
};

}  // namespace station

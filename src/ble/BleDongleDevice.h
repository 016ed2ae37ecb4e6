#pragma once

#include <string>

#include "ble/EhMc17AtInterface.h"
#include "ble/PacketReceiver.h"

namespace ovk {

/// The wireless adapter as one device: finds its port, sets its module up and links it to an
/// instrument, after which the port carries that one's packets and the receiver has it.
///
/// open() and connect() must not run beside other calls.
class BleDongleDevice : public PacketReceiver {
  public:
    using SlaveDevice = EhMc17AtInterface::SlaveDevice;

    /// How long before the deadline a link is given up, so that the module can be told.
    static constexpr std::chrono::milliseconds kUnlinkTime{250};

    /// \param deadline after which nothing is waited for. What is not done by then fails.
    explicit BleDongleDevice(Deadline deadline = {}) : deadline_(deadline) {}

    /// Opens the adapter on the named port, or, with an empty name, on the first port of an
    /// adapter's USB bridge whose module answers.
    /// \throw CommunicationException CQ_FAIL_TO_OPEN: the named port; CQ_CANNOT_FOUND_DEVICE: no
    ///        port with a module; CQ_UNKNOWN_ERROR: the module does not answer as it should. No
    ///        port is then left open.
    void open(const std::string& portName);

    /// Links up with the instrument of this address, or, with an empty one, with that of the
    /// strongest signal, and starts receiving. Drops an earlier link first.
    /// \throw CommunicationException CQ_DEVICE_IS_CLOSED: not open; CQ_CANNOT_FOUND_DEVICE: the
    ///        scan has heard nobody; CQ_UNKNOWN_ERROR: no link;
    ///        CQ_RECEIVING_TIMEOUT: none in time.
    void connect(const std::string& address);

  private:
    void openNamed(const std::string& portName);
    void search();
    SlaveDevice strongestSlave();

    const Deadline deadline_;
    EhMc17AtInterface at_;
};

}  // namespace ovk

#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>

#include "api/Driver.h"
#include "ble/PacketReceiver.h"
#include "serial/SerialPort.h"

namespace ovk::cq {

struct BleCommand;

/// Driver of a wireless instrument: each operation is one command packet and its reply, or a few.
/// Hands unrequested measurements to the result handler. The table of commands is in
/// docs/wireless-protocol.md.
///
/// Whoever calls an operation holds the turn: replies are matched by their order alone. Operations
/// fail with CQ_DEVICE_IS_CLOSED (not open, the port's device is gone, or closed meanwhile),
/// CQ_RECEIVING_TIMEOUT, CQ_EXECUTE_COMMAND_FAILED and CQ_INVALID_PARAMETER (the instrument
/// refuses), CQ_SYSTEM_ERROR (not written), CQ_INVALID_PACKET (a reply of the wrong size). What has
/// been read before a failure stays in the output.
class SpectrophotometerBle final : public Driver {
  public:
    /// Finds the adapter, links it to the instrument, and greets that. Takes 2 to 5 s.
    /// \throw CommunicationException as BleDongleDevice; std::system_error no thread to be had.
    ResultCode open(const std::string& portName, const std::string& slaveAddress,
                    std::optional<Deadline> deadline) override;
    /// Says goodbye without insisting on an answer, drops the result handler (waiting for one that
    /// runs), unlinks the adapter and closes its port.
    void close() override { closeBy({}); }
    bool isConnected() override { return receiver_.port() != nullptr; }
    std::string portName() const override;
    std::unique_lock<std::mutex> takeTurn() override { return std::unique_lock(turnMutex_); }

    /// Takes a port that is linked to an instrument, and greets that, which takes 1.2 to 3.7 s. An
    /// instrument that does not answer is no failure. Waits for nothing after the deadline.
    void attach(const std::shared_ptr<SerialPort>& port, Deadline deadline = {});

    ResultCode calibrate(bool isWhite) override;
    ResultCode measure(RECORD_TYPE type, CqMeasurementRecord& record) override;
    ResultCode getTotalStandards(std::uint32_t& count) override;
    ResultCode getSampleCount(std::uint32_t standardIndex, std::uint32_t& count) override;
    /// A first index of 0x80000000 or more counts as 0, such a count as all.
    ResultCode uploadStandards(MeasurementRecords& records, std::uint32_t firstIndex,
                               std::uint32_t count) override;
    /// As uploadStandards().
    ResultCode uploadSamples(MeasurementRecords& records, std::uint32_t standardIndex,
                             std::uint32_t firstIndex, std::uint32_t count) override;
    /// Those before one that fails are stored.
    ResultCode downloadStandards(std::span<const CqMeasurementRecord> records) override;
    ResultCode deleteStandard(std::uint32_t index) override;
    ResultCode deleteSample(std::uint32_t standardIndex, std::uint32_t sampleIndex) override;

    /// Fills the items that a wireless instrument can tell; other bytes stay as they are.
    ResultCode getInstrumentStatus(CqInstrumentStatus& status) override;
    /// A text that its field cannot hold empties that field; on Windows it also raises the run-time
    /// library's invalid-parameter fault. Where execution goes on the result is CQ_INVALID_PACKET.
    ResultCode getDeviceInfo(CqDeviceInfo& info) override;
    /// As getDeviceInfo(). The reserved bytes stay as they are.
    ResultCode getWhiteBoardParameter(CqWhiteBoardParameter& parameter) override;
    /// Writes the text. Of the two blocks the instrument is sent no byte, see the .cpp file.
    ResultCode setWhiteBoardParameter(const CqWhiteBoardParameter& parameter) override;
    /// There is no command for it: stores 0. \return CQ_NOT_SUPPORTED.
    ResultCode getMeasurementParameter(std::uint8_t number, std::uint32_t& value) override;
    /// As getMeasurementParameter().
    ResultCode setMeasurementParameter(std::uint8_t number, std::uint8_t value) override;

  private:
    using Packet = PacketReceiver::Packet;
    using Payload = std::span<const std::uint8_t>;

    void greet(Deadline deadline);
    void closeBy(Deadline deadline);
    void handlePacket(const CQBleProtocol::CmdPacket& packet);

    // The shapes of commands.
    Packet exchange(const BleCommand& command, Payload payload, Deadline deadline = {});
    Packet exchangeChecked(const BleCommand& command, Payload payload);
    std::uint32_t requestU32(const BleCommand& command, Payload payload);
    std::uint8_t requestStatusItem(std::uint8_t item);
    CqMeasurementRecord requestRecord(const BleCommand& command, Payload payload);
    void requestText(std::uint8_t item, std::span<char> field);

    std::mutex turnMutex_;     // held while an operation runs
    PacketReceiver receiver_;  // last, so that its thread ends before what it uses
};

}  // namespace ovk::cq

#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "api/Records.h"
#include "ble/HandlerSlot.h"
#include "ble/PacketReceiver.h"
#include "serial/SerialPort.h"

namespace ovk::cq {

struct BleCommand;

/// The pauses while an instrument is attached.
struct BleAttachTiming {
    std::chrono::milliseconds settling{1200};    ///< For the link, before the first hello.
    std::chrono::milliseconds retryPause{1500};  ///< After a hello without an answer.
};

/// Driver of a wireless instrument: each operation is one command packet and its reply, or a few.
/// Hands measurements that nobody asked for to the result handler. The table of commands is in
/// docs/wireless-protocol.md.
///
/// Every operation may be called from any thread, one request at a time. Those that talk to the
/// instrument throw CommunicationException: CQ_DEVICE_IS_CLOSED (not attached, the port's device is
/// gone, or detached meanwhile), CQ_DEVICE_IS_BUSY (another request has taken this one's place),
/// CQ_RECEIVING_TIMEOUT, CQ_EXECUTE_COMMAND_FAILED and CQ_INVALID_PARAMETER (the instrument
/// refuses), CQ_SYSTEM_ERROR (not written), CQ_INVALID_PACKET (a reply of the wrong size). What has
/// been read before a failure stays in the output.
class SpectrophotometerBle {
  public:
    /// \param recordType 0 a standard, 1 a trial, as RECORD_TYPE.
    using ResultHandler =
        std::function<void(std::int32_t recordType, const CqMeasurementRecord& record)>;

    explicit SpectrophotometerBle(BleAttachTiming timing = {});
    /// Stops receiving, without a goodbye.
    ~SpectrophotometerBle() = default;
    SpectrophotometerBle(const SpectrophotometerBle&) = delete;
    SpectrophotometerBle& operator=(const SpectrophotometerBle&) = delete;

    /// Takes a port that is linked to an instrument, and greets that. Takes 1.2 to 3.7 s. An
    /// instrument that does not answer is no failure.
    /// \throw std::system_error the receiving thread could not be started.
    void attach(const std::shared_ptr<SerialPort>& port);
    /// Says goodbye without insisting on an answer, drops the result handler (waiting for one that
    /// runs) and stops receiving.
    /// \return the port, still open; null if not attached.
    /// \throw std::system_error in the result handler, where it cannot be done.
    std::shared_ptr<SerialPort> detach();
    bool isAttached() const { return receiver_.port() != nullptr; }
    /// Name of the adapter's port; empty if not attached.
    std::string portName() const;
    /// True in the result handler.
    bool isReceivingThread() const { return receiver_.isReceivingThread(); }

    /// Replaces the handler; empty removes it. It runs on the receiving thread and must not talk to
    /// the instrument. When this returns an earlier handler has ended, unless it is that handler
    /// itself that calls.
    void setResultHandler(ResultHandler handler) { resultHandler_.set(std::move(handler)); }

    void calibrate(bool isWhite);
    CqMeasurementRecord measure(RECORD_TYPE type);

    std::uint32_t getTotalStandards();
    /// \param standardIndex CQ_ALL_RECORDS counts the samples of every standard.
    std::uint32_t getSampleCount(std::uint32_t standardIndex);

    /// Appends the records.
    /// \param start the first one's index; below 0 counts as 0.
    /// \param count below 0: all from `start` on.
    void uploadStandards(MeasurementRecords& records, std::int32_t start, std::int32_t count);
    void uploadSamples(MeasurementRecords& records, std::uint32_t standardIndex, std::int32_t start,
                       std::int32_t count);
    /// Those before one that fails are stored.
    void downloadStandards(std::span<const CqMeasurementRecord> records);
    /// \param index CQ_ALL_RECORDS deletes everything.
    void deleteStandard(std::uint32_t index);
    void deleteSample(std::uint32_t standardIndex, std::uint32_t sampleIndex);

    /// Fills the items that a wireless instrument can tell; other bytes stay as they are.
    void getInstrumentStatus(CqInstrumentStatus& status);
    /// A text that its field cannot hold empties that field; on Windows it also raises the run-time
    /// library's invalid-parameter fault. Where execution goes on the result is CQ_INVALID_PACKET.
    void getDeviceInfo(CqDeviceInfo& info);
    /// As getDeviceInfo(). The reserved bytes stay as they are.
    void getWhiteBoardParameter(CqWhiteBoardParameter& parameter);
    /// Writes the text. Of the two blocks the instrument is sent no byte, see the .cpp file.
    void setWhiteBoardParameter(const CqWhiteBoardParameter& parameter);

  private:
    using Packet = PacketReceiver::Packet;
    using Payload = std::span<const std::uint8_t>;

    void greet();
    void handlePacket(const CQBleProtocol::CmdPacket& packet);

    // The shapes of commands.
    Packet exchange(const BleCommand& command, Payload payload);
    Packet exchangeChecked(const BleCommand& command, Payload payload);
    std::uint32_t requestU32(const BleCommand& command, Payload payload);
    std::uint8_t requestStatusItem(std::uint8_t item);
    CqMeasurementRecord requestRecord(const BleCommand& command, Payload payload);
    void requestText(std::uint8_t item, std::span<char> field);

    BleAttachTiming timing_;
    HandlerSlot<std::int32_t, const CqMeasurementRecord&> resultHandler_;
    PacketReceiver receiver_;  // last, so that its thread ends before what it uses
};

}  // namespace ovk::cq

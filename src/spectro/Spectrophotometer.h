#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "api/Driver.h"
#include "CQCommProtocol/CommunicationClient.h"
#include "spectro/Command.h"

namespace ovk::cq {

/// Driver of a wired instrument: turns its transfers into calls that wait for their reply, and
/// hands unrequested measurements to the result handler.
///
/// One request and one send can wait at a time; a new one replaces a waiting one, which then ends
/// with CQ_DEVICE_IS_BUSY.
///
/// Operations return CQ_DEVICE_IS_CLOSED, CQ_NO_SESSION, CQ_DEVICE_IS_BUSY, CQ_SENDING_TIMEOUT,
/// CQ_EXECUTE_COMMAND_FAILED (the instrument's number is then lastInstrumentError()),
/// CQ_INVALID_PACKET or 0; they throw nothing of their own.
class Spectrophotometer final : public Driver, private ICommunicationEventListener {
  public:
    using Bytes = std::vector<std::uint8_t>;
    using BytesView = std::span<const std::uint8_t>;

    Spectrophotometer();
    /// Closes.
    ~Spectrophotometer() override;

    /// Connects to the instrument on this port, or, with an empty name, on the first port of an
    /// instrument that answers. Without a deadline it waits as long as an open port stays silent;
    /// with one it also repeats its request, which an instrument that is just starting has not heard.
    /// \return 0; CQ_CANNOT_FOUND_DEVICE; CQ_FAIL_TO_OPEN; CQ_HAS_CONNECTED.
    ResultCode open(const std::string& portName, const std::string& slaveAddress = {},
                    std::optional<Deadline> deadline = {}) override;
    void close() override;
    bool isConnected() override;
    std::string portName() const override { return client_.portName(); }

    /// The error number of the last refusal, in the instrument's own numbering; 0 if the last
    /// acknowledged send succeeded.
    std::uint32_t lastInstrumentError() const { return lastInstrumentError_.load(); }

    ResultCode getDeviceInfo(CqDeviceInfo& info) override;
    ResultCode getInstrumentStatus(CqInstrumentStatus& status) override;
    ResultCode measure(RECORD_TYPE type, CqMeasurementRecord& record) override;
    ResultCode calibrate(bool isWhite) override;
    ResultCode getTotalStandards(std::uint32_t& count) override;
    /// The instrument has one count for the samples of all standards.
    ResultCode getSampleCount(std::uint32_t standardIndex, std::uint32_t& count) override;
    ResultCode uploadStandards(MeasurementRecords& records, std::uint32_t firstIndex,
                               std::uint32_t count) override;
    ResultCode uploadSamples(MeasurementRecords& records, std::uint32_t standardIndex,
                             std::uint32_t firstIndex, std::uint32_t count) override;
    /// \return also CQ_NO_ENOUGH_STORAGE, with nothing sent.
    ResultCode downloadStandards(std::span<const CqMeasurementRecord> records) override;
    ResultCode getWhiteBoardParameter(CqWhiteBoardParameter& parameter) override;
    ResultCode setWhiteBoardParameter(const CqWhiteBoardParameter& parameter) override;
    ResultCode deleteStandard(std::uint32_t index) override;
    ResultCode deleteSample(std::uint32_t standardIndex, std::uint32_t sampleIndex) override;
    ResultCode getMeasurementParameter(std::uint8_t number, std::uint32_t& value) override;
    ResultCode setMeasurementParameter(std::uint8_t number, std::uint8_t value) override;

  private:
    struct Pending;
    using Slot = std::shared_ptr<Pending>;

    // The request engine.
    ResultCode connect(const std::string& portName, std::optional<Deadline> deadline);
    void awaitConnectionResult(std::optional<Deadline> deadline);
    /// \param expectedSize the longest reply that makes sense.
    ResultCode request(const Command& command, BytesView data, std::uint64_t expectedSize,
                       Bytes& reply);
    ResultCode send(const Command& command, BytesView data);
    ResultCode perform(Slot& slot, const Slot& pending, BytesView data, Deadline deadline,
                       Bytes& reply);
    ResultCode begin(Slot& slot, const Slot& pending, BytesView data, Deadline deadline);
    bool giveUp(Slot& slot, const Slot& pending);
    void failPending(ResultCode code);

    // The shapes of commands.
    ResultCode requestU32(const Command& command, std::uint32_t& value);
    template <class Record>
    ResultCode requestRecord(const Command& command, BytesView data, Record& record);
    ResultCode requestRecords(const Command& command, BytesView data, std::uint32_t maxCount,
                              MeasurementRecords& records);
    ResultCode resolveCount(const Command& total, std::uint32_t firstIndex, std::uint32_t& count);

    void connectionResult(bool isConnected) override;
    void disconnected() override;
    std::uint16_t dataReceived(std::uint8_t operation, std::uint32_t offset, BytesView data,
                               std::uint32_t error, bool isLast) override;
    std::uint16_t transferProgress(std::uint8_t operation, std::uint32_t total, std::uint16_t error,
                                   bool isDone) override;
    bool isForPendingReply(std::uint8_t operation) const;
    void deliverMeasurement(std::uint8_t operation, BytesView bytes);

    // Held for moments only, never while waiting or calling the handler; taken after the link mutex
    // where both are held.
    std::mutex pendingMutex_;
    Slot pendingReply_;
    Slot pendingSend_;
    Bytes replyBuffer_;

    std::atomic<std::int32_t> connectionFlag_{0};
    std::atomic<std::uint32_t> lastInstrumentError_{0};

    // Last, so that its threads end before what they use.
    CommunicationClient client_;
};

}  // namespace ovk::cq

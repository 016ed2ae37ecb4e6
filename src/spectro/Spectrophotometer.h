#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "api/Records.h"
#include "api/ResultCode.h"
#include "CQCommProtocol/CommunicationClient.h"
#include "spectro/Command.h"

namespace ovk::cq {

class RemoteException;

/// Driver of a wired instrument: turns its transfers into calls that wait for their reply, and
/// hands measurements that nobody asked for to the result handler.
///
/// One request and one send can wait at a time; a new one takes the place of one that waits, which
/// then ends with CQ_DEVICE_IS_BUSY.
///
/// Every operation may be called from any thread and returns a result code: CQ_DEVICE_IS_CLOSED,
/// CQ_NO_SESSION, CQ_DEVICE_IS_BUSY, CQ_SENDING_TIMEOUT, CQ_EXECUTE_COMMAND_FAILED (the
/// instrument's number is then lastInstrumentError()), CQ_INVALID_PACKET or 0. Outputs are written
/// on 0 alone.
class Spectrophotometer final : public ICommunicationEventListener {
  public:
    using Bytes = std::vector<std::uint8_t>;
    using BytesView = std::span<const std::uint8_t>;
    using ResultHandler = std::function<void(RECORD_TYPE, const CqMeasurementRecord&)>;

    Spectrophotometer();
    /// Closes.
    ~Spectrophotometer() override;
    Spectrophotometer(const Spectrophotometer&) = delete;
    Spectrophotometer& operator=(const Spectrophotometer&) = delete;

    /// Connects to the instrument on this port, or, with a null name, on the first port of an
    /// instrument that answers. Waits as long as an open port stays silent.
    /// \return 0; CQ_CANNOT_FOUND_DEVICE; CQ_FAIL_TO_OPEN; CQ_HAS_CONNECTED.
    ResultCode open(const std::string* portName);
    /// Ends the connection; calls that wait end with CQ_DEVICE_IS_CLOSED.
    void close();
    /// True while the port is there and the instrument has given a session.
    bool isConnected() const;
    std::string portName() const { return client_.portName(); }
    bool isReceivingThread() const { return client_.isReceivingThread(); }

    /// Replaces the handler; empty removes it. When this returns an earlier handler has ended.
    void setResultHandler(ResultHandler handler);

    /// The error number of the last refusal, in the instrument's own numbering; 0 if the last
    /// acknowledged send succeeded.
    std::uint32_t lastInstrumentError() const { return lastInstrumentError_.load(); }

    ResultCode getDeviceInfo(CqDeviceInfo& info);
    ResultCode getInstrumentStatus(CqInstrumentStatus& status);
    ResultCode measure(RECORD_TYPE type, CqMeasurementRecord& record);
    ResultCode calibrate(bool isWhite);
    ResultCode getTotalStandards(std::uint32_t& count);
    ResultCode getTotalSamples(std::uint32_t& count);
    /// \param count how many; CQ_ALL_RECORDS is replaced by what that comes to.
    ResultCode uploadStandards(MeasurementRecords& records, std::uint32_t firstIndex,
                               std::uint32_t& count);
    /// \param count how many; CQ_ALL_RECORDS is replaced by what that comes to.
    ResultCode uploadSamples(MeasurementRecords& records, std::uint32_t standardIndex,
                             std::uint32_t firstIndex, std::uint32_t& count);
    /// \return also CQ_NO_ENOUGH_STORAGE, with nothing sent.
    ResultCode downloadStandards(std::span<const CqMeasurementRecord> records);
    ResultCode getWhiteBoardParameter(CqWhiteBoardParameter& parameter);
    ResultCode setWhiteBoardParameter(const CqWhiteBoardParameter& parameter);
    /// \param index CQ_ALL_RECORDS deletes everything.
    ResultCode deleteStandard(std::uint32_t index);
    ResultCode deleteSample(std::uint32_t standardIndex, std::uint32_t sampleIndex);
    ResultCode getMeasurementParameter(std::uint8_t number, std::uint32_t& value);
    ResultCode setMeasurementParameter(std::uint8_t number, std::uint8_t value);

  private:
    struct Pending;
    struct PendingReply;
    struct PendingSend;

    // The request engine.
    ResultCode connect(const std::string& portName);
    void awaitConnectionResult();
    /// \param expectedSize the longest reply that makes sense.
    ResultCode request(const Command& command, BytesView data, std::uint64_t expectedSize,
                       Bytes& reply);
    ResultCode send(const Command& command, BytesView data);
    /// Begins the transfer and lets `pending` wait for its outcome.
    template <class Kind>
    ResultCode begin(std::shared_ptr<Kind>& slot, const std::shared_ptr<Kind>& pending,
                     BytesView data);
    /// Waits for the outcome; false when none comes in time.
    template <class Kind>
    bool await(std::shared_ptr<Kind>& slot, const std::shared_ptr<Kind>& pending,
               std::chrono::milliseconds timeout);
    void failPending(ResultCode code);
    /// Takes the call that waits out of its slot and gives it its outcome, to which a reply belongs
    /// that is there already. The client wakes it.
    template <class Kind>
    static void settle(std::shared_ptr<Kind>& slot, ResultCode code);
    template <class Kind>
    static void settle(std::shared_ptr<Kind>& slot, const RemoteException& refusal);

    // The shapes of commands.
    ResultCode requestU32(const Command& command, BytesView data, std::uint32_t& value);
    template <class Record>
    ResultCode requestRecord(const Command& command, BytesView data, Record& record);
    ResultCode requestRecords(const Command& command, BytesView data, std::uint32_t maxCount,
                              MeasurementRecords& records);
    ResultCode resolveCount(ResultCode (Spectrophotometer::*total)(std::uint32_t&),
                            std::uint32_t firstIndex, std::uint32_t& count);

    void connectionResult(bool isConnected) override;
    void disconnected() override;
    std::uint16_t dataReceived(std::uint8_t operation, std::uint32_t offset, BytesView data,
                               std::uint32_t error, bool isLast) override;
    std::uint16_t transferProgress(std::uint8_t operation, std::uint32_t total, std::uint16_t error,
                                   bool isDone) override;
    bool isForPendingReply(std::uint8_t operation) const;
    void deliverMeasurement(RECORD_TYPE type, BytesView bytes);

    // Held for moments only, never while waiting or calling the handler; taken after the link mutex
    // where both are held.
    mutable std::mutex pendingMutex_;
    std::shared_ptr<PendingReply> pendingReply_;
    std::shared_ptr<PendingSend> pendingSend_;
    Bytes replyBuffer_;

    std::shared_ptr<const ResultHandler> resultHandler_;  // guarded by the link mutex

    std::atomic<std::int32_t> connectionFlag_{0};
    std::atomic<std::uint32_t> lastInstrumentError_{0};

    // Last, so that its threads end before what they use.
    CommunicationClient client_;
};

}  // namespace ovk::cq

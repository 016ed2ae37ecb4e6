#pragma once

#include <cstdint>
#include <istream>
#include <memory>
#include <span>
#include <vector>

#include "CQCommProtocol/DataPacket.h"
#include "CQCommProtocol/WireFormat.h"

namespace ovk {

/// The bookkeeping of one transfer to the instrument: cuts it into packets, one at a time, and
/// keeps the last one for sending again. Has no clock, no port and no lock.
class TxContext {
  public:
    /// Sets the largest packet to build, in bytes. A size that leaves no room for a
    /// payload counts as the default.
    void setMaxPacket(std::uint32_t size) {
        maxPacket_ = size > wire::kDataOverhead ? size : wire::kDefaultMaxPacket;
    }

    /// Begins a transfer: the operation code, then the data, then what the stream holds from its
    /// position on.
    void start(std::uint8_t operation, std::span<const std::uint8_t> data,
               std::shared_ptr<std::istream> stream);

    /// Builds the transfer's next packet.
    std::shared_ptr<const DataPacket> buildPacket(std::uint8_t session);

    /// The packet built last in the running transfer; null if there is none.
    const std::shared_ptr<const DataPacket>& lastPacket() const { return lastPacket_; }
    /// True while there are packets to build.
    bool hasMore() const { return bufferedBytes() > 0 || stream_ != nullptr; }

    std::uint8_t operation() const { return operation_; }
    std::uint32_t sequence() const { return sequence_; }
    /// Bytes of the whole transfer, without the operation code and without a stream that does not
    /// know its length; -1 when none is running.
    std::int32_t totalSize() const { return totalSize_; }

    /// Ends the transfer. The largest packet size stays.
    void clear();

  private:
    std::size_t bufferedBytes() const { return buffer_.size() - sentBytes_; }
    /// Moves bytes from the stream into the buffer until it holds a packet's payload.
    void refill(std::size_t chunkSize);

    std::uint32_t maxPacket_ = wire::kDefaultMaxPacket;
    std::int32_t totalSize_ = -1;
    std::uint8_t operation_ = 0;
    std::uint32_t sequence_ = 0;
    std::vector<std::uint8_t> buffer_;
    std::size_t sentBytes_ = 0;  // of the buffer
    std::shared_ptr<std::istream> stream_;
    std::shared_ptr<const DataPacket> lastPacket_;
};

}  // namespace ovk

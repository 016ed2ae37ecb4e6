#pragma once

#include <cstdint>
#include <span>

namespace ovk {

/// Receives the events of a wired link. All operations run with the client's link mutex held, on the
/// receive thread; disconnected() also on the watchdog's or the closing thread.
class ICommunicationEventListener {
  public:
    virtual ~ICommunicationEventListener() = default;

    /// The instrument has answered the shake-hands request.
    virtual void connectionResult(bool isConnected) = 0;

    /// The link has dropped.
    virtual void disconnected() = 0;

    /// A piece of a transfer from the instrument has come, or the instrument has aborted it:
    /// `error` is then its error number and `data` empty.
    /// \param offset 0 for the first piece.
    /// \return non-zero to abort the transfer.
    virtual std::uint16_t dataReceived(std::uint8_t operation, std::uint32_t offset,
                                       std::span<const std::uint8_t> data, std::uint32_t error,
                                       bool isLast) = 0;

    /// The instrument has acknowledged a packet, or has aborted the transfer to it or the work on it
    /// (`error` is then its error number).
    /// \param total bytes of the whole transfer.
    /// \return non-zero to abort the transfer, while it is not done.
    virtual std::uint16_t transferProgress(std::uint8_t operation, std::uint32_t total,
                                           std::uint16_t error, bool isDone) = 0;
};

/// Receives the bytes that belong to no packet.
class IRawDataListener {
  public:
    virtual ~IRawDataListener() = default;
    virtual void rawData(std::span<const std::uint8_t> bytes) = 0;
};

}  // namespace ovk

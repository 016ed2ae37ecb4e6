#pragma once

#include <windows.h>

#include <string>

#include "Bytes.h"
#include "win32/Handle.h"
#include "win32/Line.h"

namespace vi {

/// A COM port with a read of one byte always pending, which signals when there is more to read.
class ComPort : public Line {
  public:
    /// \param name "COM5".
    /// \throw std::runtime_error if the port cannot be opened or configured.
    explicit ComPort(const std::string& name);
    /// Waits for the read to end before its memory is freed.
    ~ComPort() override;

    const std::string& name() const override { return name_; }
    HANDLE readEvent() const override { return readEvent_.get(); }
    void read(Bytes& to) override;
    HANDLE writeEvent() const override { return nullptr; }
    /// \return how much was accepted within a second.
    std::size_t write(ByteView bytes) override;

  private:
    void startReading();
    void readRest(Bytes& to);
    [[noreturn]] void fail(const char* what, DWORD error) const;

    std::string name_;
    Handle port_;
    Handle readEvent_;
    Handle transferEvent_;  // of synchronous reads and writes
    OVERLAPPED reading_{};
    std::uint8_t firstByte_ = 0;
};

}  // namespace vi

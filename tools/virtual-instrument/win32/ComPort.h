#pragma once

#include <windows.h>

#include <string>

#include "Bytes.h"
#include "win32/Handle.h"
#include "win32/Line.h"

namespace vi {

/// A COM port with a read of one byte always under way: that tells when more is there to be taken.
class ComPort : public Line {
  public:
    /// \param name "COM5".
    /// \throw std::runtime_error when the port cannot be opened or set up.
    explicit ComPort(const std::string& name);
    /// Waits for the read to end before its memory goes away.
    ~ComPort() override;

    const std::string& name() const override { return name_; }
    HANDLE readEvent() const override { return readEvent_.get(); }
    void read(Bytes& to) override;
    HANDLE writeEvent() const override { return nullptr; }
    /// \return how much was taken within a second.
    std::size_t write(ByteView bytes) override;

  private:
    void startReading();
    void readRest(Bytes& to);
    [[noreturn]] void fail(const char* what, DWORD error) const;

    std::string name_;
    Handle port_;
    Handle readEvent_;
    Handle transferEvent_;  // of reads and writes that are waited for
    OVERLAPPED reading_{};
    std::uint8_t firstByte_ = 0;
};

}  // namespace vi

#pragma once

#include <windows.h>

#include <string>

#include "Bytes.h"
#include "win32/Handle.h"
#include "win32/Line.h"

namespace vi {

/// A named pipe that hosts open as their port, one at a time and as often as they like. It
/// disappears with the object, and a host that has it open sees a broken pipe.
class NamedPipe : public Line {
  public:
    /// \param name the part after \\.\pipe\ of the name that a host opens.
    /// \throw std::runtime_error if the pipe cannot be created, for instance because the name is
    /// taken.
    explicit NamedPipe(const std::string& name);
    /// Waits for pending operations to end before their memory is freed.
    ~NamedPipe() override;

    const std::string& name() const override { return path_; }
    HANDLE readEvent() const override { return readEvent_.get(); }
    void read(Bytes& to) override;
    HANDLE writeEvent() const override { return writeEvent_.get(); }
    /// Drops what is written while no host is connected, as an open line does.
    std::size_t write(ByteView bytes) override;

  private:
    void awaitHost();
    void nextHost();
    void readOn();
    void cancel(OVERLAPPED& operation);
    [[noreturn]] void fail(const char* what, DWORD error) const;

    std::string path_;
    Handle pipe_;
    Handle readEvent_;
    Handle writeEvent_;
    bool hasHost_ = false;
    OVERLAPPED reading_{};  // or waiting for a host
    OVERLAPPED writing_{};
    bool isReading_ = false;
    bool isWriting_ = false;
    Bytes incoming_;
    Bytes outgoing_;
};

}  // namespace vi

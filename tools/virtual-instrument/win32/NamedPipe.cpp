#include "win32/NamedPipe.h"

#include <stdexcept>
#include <system_error>
#include <utility>

namespace vi {
namespace {

constexpr DWORD kBufferSize = 65536;
constexpr const char* kFolder = R"(\\.\pipe\)";

HANDLE makePipe(const std::string& path) {
    // The first and only instance: another program's pipe of this name is not joined.
    return CreateNamedPipeA(
        path.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
        PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS, 1,
        kBufferSize, kBufferSize, 0, nullptr);
}

}  // namespace

void NamedPipe::fail(const char* what, DWORD error) const {
    throw std::runtime_error(std::string(what) + " " + path_ + ": " +
                             std::system_category().message(static_cast<int>(error)));
}

NamedPipe::NamedPipe(const std::string& name)
    : path_(kFolder + name), pipe_(makePipe(path_)), incoming_(kBufferSize) {
    if (!pipe_.isValid()) {
        fail("cannot make the pipe", GetLastError());
    }
    readEvent_ = Handle(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    writeEvent_ = Handle(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    if (!readEvent_.isValid() || !writeEvent_.isValid()) {
        fail("cannot set up", GetLastError());
    }
    awaitHost();
}

NamedPipe::~NamedPipe() {
    if (isReading_) {
        cancel(reading_);
    }
    if (isWriting_) {
        cancel(writing_);
    }
    // Otherwise the name would stay taken for as long as a host keeps the pipe open.
    DisconnectNamedPipe(pipe_.get());
}

/// Cancels an operation and waits for its end: until then the system writes to it and to its bytes.
void NamedPipe::cancel(OVERLAPPED& operation) {
    DWORD count = 0;
    CancelIoEx(pipe_.get(), &operation);
    GetOverlappedResult(pipe_.get(), &operation, &count, TRUE);
}

void NamedPipe::awaitHost() {
    hasHost_ = false;
    reading_ = {};
    reading_.hEvent = readEvent_.get();
    ResetEvent(readEvent_.get());
    const DWORD error =
        ConnectNamedPipe(pipe_.get(), &reading_) != 0 ? ERROR_PIPE_CONNECTED : GetLastError();
    if (error == ERROR_IO_PENDING) {
        isReading_ = true;
    } else if (error == ERROR_PIPE_CONNECTED || error == ERROR_NO_DATA) {
        readOn();  // if a host has already come and gone, the read finds no data
    } else {
        fail("cannot wait for a host at", error);
    }
}

void NamedPipe::nextHost() {
    if (std::exchange(isWriting_, false)) {
        cancel(writing_);
    }
    DisconnectNamedPipe(pipe_.get());
    awaitHost();
}

void NamedPipe::readOn() {
    hasHost_ = true;
    reading_ = {};
    reading_.hEvent = readEvent_.get();
    ResetEvent(readEvent_.get());
    isReading_ = ReadFile(pipe_.get(), incoming_.data(), static_cast<DWORD>(incoming_.size()),
                          nullptr, &reading_) != 0 ||
                 GetLastError() == ERROR_IO_PENDING;
    if (!isReading_) {
        nextHost();
    }
}

void NamedPipe::read(Bytes& to) {
    if (WaitForSingleObject(readEvent_.get(), 0) != WAIT_OBJECT_0) {
        return;
    }
    DWORD count = 0;
    const bool hasSucceeded = GetOverlappedResult(pipe_.get(), &reading_, &count, FALSE) != 0;
    isReading_ = false;
    if (!hasSucceeded) {
        nextHost();
        return;
    }
    if (hasHost_) {
        to.insert(to.end(), incoming_.begin(), incoming_.begin() + count);
    }
    readOn();
}

std::size_t NamedPipe::write(ByteView bytes) {
    if (!hasHost_) {
        return bytes.size();
    }
    if (isWriting_ && !HasOverlappedIoCompleted(&writing_)) {
        return 0;
    }
    outgoing_.assign(bytes.begin(), bytes.end());
    writing_ = {};
    writing_.hEvent = writeEvent_.get();
    ResetEvent(writeEvent_.get());
    // Any other failure means that the host is gone, which the read also reports.
    isWriting_ = WriteFile(pipe_.get(), outgoing_.data(), static_cast<DWORD>(outgoing_.size()),
                           nullptr, &writing_) == 0 &&
                 GetLastError() == ERROR_IO_PENDING;
    return bytes.size();
}

}  // namespace vi

#include "win32/ComPort.h"

#include <stdexcept>
#include <system_error>

namespace vi {
namespace {

constexpr DWORD kQueueSize = 20480;
constexpr DWORD kWritePatienceMs = 1000;

}  // namespace

void ComPort::fail(const char* what, DWORD error) const {
    throw std::runtime_error(std::string(what) + " " + name_ + ": " +
                             std::system_category().message(static_cast<int>(error)));
}

ComPort::ComPort(const std::string& name)
    : name_(name),
      port_(CreateFileA(("\\\\.\\" + name).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                        OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr)) {
    if (!port_.isValid()) {
        fail("cannot open", GetLastError());
    }
    readEvent_ = Handle(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    transferEvent_ = Handle(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    DCB settings{};
    settings.DCBlength = sizeof(settings);
    COMMTIMEOUTS timeouts{};  // none: the read waits until its byte arrives
    SetupComm(port_.get(), kQueueSize, kQueueSize);
    if (!readEvent_.isValid() || !transferEvent_.isValid() ||
        GetCommState(port_.get(), &settings) == 0) {
        fail("cannot set up", GetLastError());
    }
    settings.BaudRate = CBR_115200;
    settings.ByteSize = 8;
    settings.Parity = NOPARITY;
    settings.StopBits = ONESTOPBIT;
    settings.fBinary = TRUE;
    settings.fOutxCtsFlow = FALSE;
    settings.fOutxDsrFlow = FALSE;
    settings.fOutX = FALSE;
    settings.fInX = FALSE;
    if (SetCommState(port_.get(), &settings) == 0 || SetCommTimeouts(port_.get(), &timeouts) == 0) {
        fail("cannot set up", GetLastError());
    }
    startReading();
}

ComPort::~ComPort() {
    DWORD count = 0;
    CancelIoEx(port_.get(), &reading_);
    GetOverlappedResult(port_.get(), &reading_, &count, TRUE);
}

void ComPort::startReading() {
    reading_ = {};
    reading_.hEvent = readEvent_.get();
    ResetEvent(readEvent_.get());
    if (ReadFile(port_.get(), &firstByte_, 1, nullptr, &reading_) == 0 &&
        GetLastError() != ERROR_IO_PENDING) {
        fail("lost", GetLastError());
    }
}

void ComPort::read(Bytes& to) {
    DWORD count = 0;
    if (GetOverlappedResult(port_.get(), &reading_, &count, FALSE) == 0) {
        if (GetLastError() == ERROR_IO_INCOMPLETE) {
            return;
        }
        fail("lost", GetLastError());
    }
    if (count > 0) {
        to.push_back(firstByte_);
        readRest(to);
    }
    startReading();
}

void ComPort::readRest(Bytes& to) {
    COMSTAT state{};
    DWORD errors = 0;
    if (ClearCommError(port_.get(), &errors, &state) == 0 || state.cbInQue == 0) {
        return;
    }
    const std::size_t before = to.size();
    to.resize(before + state.cbInQue);
    OVERLAPPED transfer{};
    transfer.hEvent = transferEvent_.get();
    DWORD count = 0;
    if (ReadFile(port_.get(), to.data() + before, state.cbInQue, nullptr, &transfer) != 0 ||
        GetLastError() == ERROR_IO_PENDING) {
        GetOverlappedResult(port_.get(), &transfer, &count, TRUE);
    }
    to.resize(before + count);
}

std::size_t ComPort::write(ByteView bytes) {
    OVERLAPPED writing{};
    writing.hEvent = transferEvent_.get();
    DWORD count = 0;
    const BOOL isDone =
        WriteFile(port_.get(), bytes.data(), static_cast<DWORD>(bytes.size()), nullptr, &writing);
    if (isDone == 0 && GetLastError() != ERROR_IO_PENDING) {
        return 0;
    }
    if (WaitForSingleObject(transferEvent_.get(), kWritePatienceMs) != WAIT_OBJECT_0) {
        CancelIoEx(port_.get(), &writing);
    }
    // Also waits for the end of a cancelled write, which must not outlive its OVERLAPPED.
    GetOverlappedResult(port_.get(), &writing, &count, TRUE);
    return count;
}

}  // namespace vi

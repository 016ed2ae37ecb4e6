#include "serial/SerialPort.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <regex>

#include "api/DebugLog.h"
#include "serial/win32/NamedPipe.h"

namespace ovk {
namespace {

static_assert(SerialPort::kErrorDeviceGone == ERROR_FILE_NOT_FOUND);

/// How long to wait for the end of a cancelled wait for bytes. It comes at once, except in Wine: there a
/// wait that ends while it is being started may read as pending for ever.
constexpr DWORD kEndPatienceMs = 100;

/// The pause after a wait that the system has refused.
constexpr DWORD kFailedWaitPauseMs = 10;

/// A manual-reset event. Null when the system has none left.
class Event {
  public:
    Event() : handle_(CreateEventA(nullptr, TRUE, FALSE, nullptr)) {}
    ~Event() {
        if (isValid()) {
            CloseHandle(handle_);
        }
    }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    bool isValid() const { return handle_ != nullptr; }
    HANDLE handle() const { return handle_; }
    void set() { SetEvent(handle_); }
    void reset() { ResetEvent(handle_); }

  private:
    HANDLE handle_;
};

DWORD toWaitTime(std::chrono::milliseconds timeout) {
    return static_cast<DWORD>(std::clamp<std::int64_t>(timeout.count(), 0, INFINITE));
}

std::string devicePath(const std::string& portName) {
    static const std::regex kPort(R"(COM\d+)");
    return std::regex_match(portName, kPort) ? R"(\\.\)" + portName : portName;
}

void logSystemText(DWORD error) {
    if (!debuglog::isOpen()) {
        return;
    }
    char* text = nullptr;
    FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr, error,
                   MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), reinterpret_cast<char*>(&text), 0,
                   nullptr);
    debuglog::write("%s", text == nullptr ? "" : text);
    LocalFree(text);
}

/// The whole control block is made anew: nothing of the device's earlier settings is kept.
DCB controlBlock(const SerialPortSettings& settings) {
    DCB block{};
    block.DCBlength = sizeof(block);
    block.BaudRate = settings.baudRate;
    block.ByteSize = static_cast<BYTE>(settings.byteSize);
    block.Parity = static_cast<BYTE>(settings.parity);
    block.StopBits = static_cast<BYTE>(settings.stopBits);
    block.fRtsControl = RTS_CONTROL_ENABLE;
    return block;
}

HANDLE openHandle(const std::string& path) {
    const auto open = [&path] {
        return CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                           FILE_FLAG_OVERLAPPED | namedpipe::extraFlags(path), nullptr);
    };
    const HANDLE handle = open();
    const bool mustQueue = handle == INVALID_HANDLE_VALUE && GetLastError() == ERROR_PIPE_BUSY &&
                           WaitNamedPipeA(path.c_str(), namedpipe::kTurnTimeMs) != FALSE;
    return mustQueue ? open() : handle;
}

}  // namespace

struct SerialPort::Device {
    /// Waits for an overlapped operation whose call has returned false with `error`. True when the
    /// operation has succeeded; else `error` says why. Either way it has ended when this returns, or
    /// `cancel`, which makes a pending one end, was given `patience` to do so.
    template <class Cancel>
    bool complete(OVERLAPPED& operation, std::chrono::milliseconds timeout, const Cancel& cancel,
                  DWORD patience, DWORD& error) {
        if (error != ERROR_IO_PENDING) {
            logSystemText(error);
            error = namedpipe::toPortError(error);
            return false;
        }
        const std::array<HANDLE, 2> events{operation.hEvent, closing.handle()};
        const DWORD wait = WaitForMultipleObjects(static_cast<DWORD>(events.size()), events.data(),
                                                  FALSE, toWaitTime(timeout));
        // The serial-event event may have been set to abort the wait rather than by the operation.
        const bool isDone = wait == WAIT_OBJECT_0 && HasOverlappedIoCompleted(&operation);
        if (!isDone) {
            cancel();
            awaitEnd(operation, patience);
        }
        DWORD count = 0;
        if (GetOverlappedResult(handle, &operation, &count, FALSE) == FALSE) {
            error = namedpipe::toPortError(GetLastError());
            return false;
        }
        error = isDone ? ERROR_SUCCESS : ERROR_OPERATION_ABORTED;
        return isDone;
    }

    /// Waits for a cancelled operation. Its event does not say that it has ended, which an abort may
    /// set at any time: GetOverlappedResult() would take that for the end.
    static void awaitEnd(OVERLAPPED& operation, DWORD patience) {
        do {
            ResetEvent(operation.hEvent);
        } while (!HasOverlappedIoCompleted(&operation) &&
                 WaitForSingleObject(operation.hEvent, patience) == WAIT_OBJECT_0);
    }

    /// Starts a transfer and waits for its end. Returns the count of bytes, or -1 with the error.
    template <class Start>
    std::int32_t transfer(const Start& start, Event& event, std::chrono::milliseconds timeout,
                          DWORD& error) {
        event.reset();
        OVERLAPPED operation{};
        operation.hEvent = event.handle();
        error = start(operation) != FALSE ? ERROR_SUCCESS : GetLastError();
        if (error != ERROR_SUCCESS &&
            !complete(
                operation, timeout, [this] { CancelIo(handle); }, INFINITE, error)) {
            return -1;
        }
        DWORD count = 0;
        if (GetOverlappedResult(handle, &operation, &count, FALSE) == FALSE) {
            error = namedpipe::toPortError(GetLastError());
            return -1;
        }
        return static_cast<std::int32_t>(count);
    }

    /// Asks the device whether it is there. Returns the error, 0 if it is.
    DWORD check() const {
        if (isPipe) {
            DWORD count = 0;
            return namedpipe::countReceived(handle, count);
        }
        DCB block{};
        block.DCBlength = sizeof(block);
        return GetCommState(handle, &block) == FALSE ? GetLastError() : ERROR_SUCCESS;
    }

    /// How many bytes wait to be read. Returns the error; 0 if the port has told.
    DWORD countReceived(DWORD& count) const {
        if (isPipe) {
            return namedpipe::countReceived(handle, count);
        }
        DWORD errors = 0;
        COMSTAT status{};
        if (ClearCommError(handle, &errors, &status) == FALSE) {
            return GetLastError();
        }
        count = status.cbInQue;
        return ERROR_SUCCESS;
    }

    bool hasReceived(DWORD& error) const {
        DWORD count = 0;
        error = countReceived(count);
        return error == ERROR_SUCCESS && count > 0;
    }

    /// True as soon as bytes wait to be read; else `error` says why not, 0 for a mere line error.
    bool waitForData(std::chrono::milliseconds timeout, DWORD& error) {
        if (abortRequested.load()) {
            error = ERROR_OPERATION_ABORTED;
            return false;
        }
        if (hasReceived(error) || error != ERROR_SUCCESS) {
            return error == ERROR_SUCCESS;
        }
        // Bytes that came before the mask was set raise no event, hence the second look.
        if (!isPipe) {
            SetCommMask(handle, EV_RXCHAR | EV_ERR);
        }
        if (hasReceived(error) || error != ERROR_SUCCESS) {
            return error == ERROR_SUCCESS;
        }
        bool isDone = startWaiting() != FALSE;
        error = isDone ? ERROR_SUCCESS : GetLastError();
        if (!isDone) {
            // Starting the operation has reset the event, so an abort that came before is seen here.
            if (abortRequested.load()) {
                serialEvent.set();
            }
            isDone = complete(
                waiting, timeout, [this] { stopWaiting(); }, kEndPatienceMs, error);
        }
        if (error != kErrorDeviceGone && !isPipe) {
            SetCommMask(handle, 0);
        }
        return isDone && (waitMask & EV_RXCHAR) != 0;
    }

    /// Starts an operation that ends when bytes have come; a pipe shows it by a read of none.
    BOOL startWaiting() {
        waiting = {};
        waiting.hEvent = serialEvent.handle();
        waitMask = isPipe ? EV_RXCHAR : 0;
        return isPipe ? ReadFile(handle, &waitMask, 0, nullptr, &waiting)
                      : WaitCommEvent(handle, &waitMask, &waiting);
    }

    void stopWaiting() const {
        if (!isPipe) {
            SetCommMask(handle, 0);
        }
        CancelIo(handle);
    }

    bool hasEvents() const {
        return serialEvent.isValid() && reading.isValid() && writing.isValid() && closing.isValid();
    }

    HANDLE handle = INVALID_HANDLE_VALUE;
    bool isPipe = false;
    Event serialEvent;
    Event reading;
    Event writing;
    Event closing;
    std::atomic<bool> abortRequested{false};
    // The wait for bytes. Kept here, where it may outlast the call that has lost patience with it.
    OVERLAPPED waiting{};
    DWORD waitMask = 0;
};

SerialPort::SerialPort(std::string portName, SerialPortSettings settings)
    : portName_(std::move(portName)), settings_(settings), device_(std::make_unique<Device>()) {}

SerialPort::~SerialPort() {
    close();
}

std::uint32_t SerialPort::openDevice() {
    constexpr DWORD kQueueSize = 20480;
    if (!device_->hasEvents()) {
        return ERROR_NO_SYSTEM_RESOURCES;
    }
    const HANDLE handle = openHandle(devicePath(portName_));
    if (handle == INVALID_HANDLE_VALUE) {
        return GetLastError();
    }
    device_->closing.reset();
    device_->handle = handle;
    device_->isPipe = namedpipe::isPipe(handle);
    hasHandle_.store(true);
    if (device_->isPipe) {
        return ERROR_SUCCESS;
    }
    if (SetupComm(handle, kQueueSize, kQueueSize) == FALSE) {
        return GetLastError();  // the handle is kept
    }
    DCB block = controlBlock(settings_);
    if (SetCommState(handle, &block) == FALSE) {
        const DWORD error = GetLastError();
        close();
        return error;
    }
    PurgeComm(handle, PURGE_TXABORT | PURGE_RXABORT | PURGE_TXCLEAR | PURGE_RXCLEAR);
    return ERROR_SUCCESS;
}

void SerialPort::wakeAll() {
    device_->closing.set();
}

void SerialPort::closeDevice() {
    CloseHandle(device_->handle);
    device_->handle = INVALID_HANDLE_VALUE;
}

bool SerialPort::isOpen() {
    const Use use = this->use();
    if (!hasHandle()) {
        return false;
    }
    const DWORD error = device_->check();
    if (error == ERROR_SUCCESS) {
        return true;
    }
    setLastError(error);
    return error != kErrorDeviceGone;
}

std::int32_t SerialPort::write(std::span<const std::uint8_t> bytes) {
    const Use use = this->use();
    if (!hasHandle()) {
        setLastError(ERROR_INVALID_HANDLE);
        return -1;
    }
    const auto start = [&](OVERLAPPED& operation) {
        return WriteFile(device_->handle, bytes.data(), static_cast<DWORD>(bytes.size()), nullptr,
                         &operation);
    };
    DWORD error = ERROR_SUCCESS;
    const auto count = device_->transfer(start, device_->writing, settings_.writeTimeout, error);
    setLastError(error);
    return count;
}

std::int32_t SerialPort::read(std::span<std::uint8_t> buffer) {
    const Use use = this->use();
    if (!hasHandle()) {
        setLastError(ERROR_INVALID_HANDLE);
        return -1;
    }
    const auto start = [&](OVERLAPPED& operation) {
        return ReadFile(device_->handle, buffer.data(), static_cast<DWORD>(buffer.size()), nullptr,
                        &operation);
    };
    DWORD error = ERROR_SUCCESS;
    const auto count = device_->transfer(start, device_->reading, settings_.readTimeout, error);
    setLastError(error);
    return count;
}

// A read waits until its buffer is full, so it asks first how much there is.
std::size_t SerialPort::readSome(std::span<std::uint8_t> buffer) {
    const auto count = std::min(buffer.size(), queuedBytes().value_or(0));
    const std::int32_t received = count > 0 ? read(buffer.first(count)) : 0;
    return received > 0 ? static_cast<std::size_t>(received) : 0;
}

std::optional<std::size_t> SerialPort::queuedBytes() {
    const Use use = this->use();
    DWORD count = 0;
    const DWORD error = hasHandle() ? device_->countReceived(count) : ERROR_INVALID_HANDLE;
    if (error != ERROR_SUCCESS) {
        setLastError(error);
        return std::nullopt;
    }
    return count;
}

void SerialPort::discardReceived() {
    {
        const Use use = this->use();
        if (!hasHandle()) {
            return;
        }
        if (!device_->isPipe) {
            PurgeComm(device_->handle, PURGE_RXCLEAR);
            return;
        }
    }
    readAvailable();
}

bool SerialPort::waitForData(std::chrono::milliseconds timeout) {
    const Use use = this->use();
    if (!hasHandle()) {
        setLastError(ERROR_INVALID_HANDLE);
        return false;
    }
    DWORD error = ERROR_SUCCESS;
    const bool hasData = device_->waitForData(timeout, error);
    setLastError(error);
    const bool isRefused =
        error != ERROR_SUCCESS && error != kErrorDeviceGone && error != ERROR_OPERATION_ABORTED;
    if (isRefused) {
        Sleep(kFailedWaitPauseMs);
    }
    return hasData;
}

void SerialPort::signalAbort() {
    device_->abortRequested.store(true);
    device_->serialEvent.set();
}

void SerialPort::clearAbort() {
    device_->abortRequested.store(false);
}

}  // namespace ovk

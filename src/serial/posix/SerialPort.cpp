#include "serial/SerialPort.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <system_error>
#include <thread>

#include "api/DebugLog.h"

namespace ovk {
namespace {

using Clock = std::chrono::steady_clock;

/// The pause after a wait that the system has refused.
constexpr auto kFailedWaitPause = std::chrono::milliseconds(10);

/// A file descriptor that becomes readable when it is set, and stays so until it is reset. Without
/// one when the process has no descriptor left.
class Event {
  public:
    Event() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
    ~Event() {
        if (isValid()) {
            ::close(descriptor_);
        }
    }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    bool isValid() const { return descriptor_ >= 0; }
    int descriptor() const { return descriptor_; }
    void set() { eventfd_write(descriptor_, 1); }
    void reset() {
        eventfd_t count = 0;
        eventfd_read(descriptor_, &count);
    }

  private:
    int descriptor_;
};

/// What a removed or hung-up terminal answers counts as one thing: the device is gone.
std::uint32_t toPortError(int error) {
    const bool isGone = error == EIO || error == ENXIO || error == ENODEV;
    return isGone ? SerialPort::kErrorDeviceGone : static_cast<std::uint32_t>(error);
}

std::uint32_t currentError() {
    return toPortError(errno);
}

/// The moment at which a wait ends; none for a wait without end.
std::optional<Clock::time_point> deadlineAfter(std::chrono::milliseconds timeout) {
    if (timeout == SerialPort::kInfinite) {
        return std::nullopt;
    }
    const auto now = Clock::now();
    if (timeout >=
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::time_point::max() - now)) {
        return std::nullopt;
    }
    return now + timeout;
}

int toPollTimeout(const std::optional<Clock::time_point>& deadline) {
    if (!deadline) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now());
    return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, INT_MAX));
}

speed_t toSpeed(std::uint32_t baudRate) {
    struct Rate {
        std::uint32_t baudRate;
        speed_t speed;
    };
    static constexpr std::array kRates{
        Rate{9600, B9600},     Rate{19200, B19200},   Rate{38400, B38400},   Rate{57600, B57600},
        Rate{115200, B115200}, Rate{230400, B230400}, Rate{460800, B460800}, Rate{921600, B921600}};
    const auto* rate =
        std::find_if(kRates.begin(), kRates.end(),
                     [baudRate](const Rate& candidate) { return candidate.baudRate == baudRate; });
    return rate == kRates.end() ? B0 : rate->speed;
}

tcflag_t toByteSizeFlag(std::uint32_t byteSize) {
    static constexpr std::array<tcflag_t, 4> kFlags{CS5, CS6, CS7, CS8};
    return kFlags[std::clamp<std::uint32_t>(byteSize, 5, 8) - 5];
}

ssize_t readOnce(int descriptor, std::span<std::uint8_t> buffer) {
    ssize_t count = 0;
    do {
        count = ::read(descriptor, buffer.data(), buffer.size());
    } while (count < 0 && errno == EINTR);
    return count;
}

void logFailure(std::uint32_t error) {
    if (debuglog::isOpen()) {
        debuglog::write("%s\r\n", std::generic_category().message(static_cast<int>(error)).c_str());
    }
}

bool configure(int descriptor, const SerialPortSettings& settings) {
    constexpr std::uint32_t kParityOdd = 1;
    constexpr std::uint32_t kOneStopBit = 0;
    termios attributes{};
    if (tcgetattr(descriptor, &attributes) != 0) {
        return false;
    }
    cfmakeraw(&attributes);
    attributes.c_cflag &= ~static_cast<tcflag_t>(CSIZE | PARENB | PARODD | CSTOPB | CRTSCTS);
    attributes.c_cflag |= CLOCAL | CREAD | toByteSizeFlag(settings.byteSize);
    if (settings.parity != 0) {
        attributes.c_cflag |= PARENB | (settings.parity == kParityOdd ? PARODD : 0);
    }
    if (settings.stopBits != kOneStopBit) {
        attributes.c_cflag |= CSTOPB;
    }
    const speed_t speed = toSpeed(settings.baudRate);
    if (speed == B0) {
        errno = EINVAL;
        return false;
    }
    return cfsetspeed(&attributes, speed) == 0 && tcsetattr(descriptor, TCSANOW, &attributes) == 0;
}

}  // namespace

struct SerialPort::Device {
    enum class Wait { ready, timedOut, interrupted, failed };

    /// Waits until the port can be read or written. Of an interruption there is no error, of a
    /// failure `error` has it.
    Wait waitFor(short events, bool mayAbort, const std::optional<Clock::time_point>& deadline,
                 std::uint32_t& error) {
        std::array<pollfd, 3> entries{pollfd{descriptor, events, 0},
                                      pollfd{closing.descriptor(), POLLIN, 0},
                                      pollfd{mayAbort ? aborting.descriptor() : -1, POLLIN, 0}};
        for (;;) {
            const int count = poll(entries.data(), entries.size(), toPollTimeout(deadline));
            if (count < 0 && errno == EINTR) {
                continue;
            }
            if (count < 0) {
                error = currentError();
                return Wait::failed;
            }
            if (count == 0) {
                return Wait::timedOut;
            }
            if (entries[1].revents != 0 || entries[2].revents != 0) {
                return Wait::interrupted;
            }
            if ((entries[0].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) {
                error = kErrorDeviceGone;
                return Wait::failed;
            }
            return Wait::ready;
        }
    }

    /// Repeats the step, which is given how many bytes are done and returns how many it did, until
    /// all are done. Returns how many, or -1 with the error.
    template <class Step>
    std::int32_t repeat(const Step& step, std::size_t total, short event,
                        std::chrono::milliseconds timeout, std::uint32_t& error) {
        const auto deadline = deadlineAfter(timeout);
        for (std::size_t done = 0; done < total;) {
            const ssize_t count = step(done);
            if (count > 0) {
                done += static_cast<std::size_t>(count);
            } else if (count == 0) {
                error = kErrorDeviceGone;  // end of file: the terminal was hung up
            } else if (errno == EAGAIN) {
                const Wait wait = waitFor(event, false, deadline, error);
                error = wait == Wait::timedOut      ? ETIMEDOUT
                        : wait == Wait::interrupted ? ECANCELED
                                                    : error;
            } else if (errno != EINTR) {
                error = currentError();
            }
            if (error != 0) {
                logFailure(error);
                return -1;
            }
        }
        return static_cast<std::int32_t>(total);
    }

    std::int32_t write(std::span<const std::uint8_t> bytes, std::chrono::milliseconds timeout,
                       std::uint32_t& error) {
        const auto step = [this, bytes](std::size_t done) {
            return ::write(descriptor, bytes.data() + done, bytes.size() - done);
        };
        return repeat(step, bytes.size(), POLLOUT, timeout, error);
    }

    int descriptor = -1;
    Event closing;
    Event aborting;
};

SerialPort::SerialPort(std::string portName, SerialPortSettings settings)
    : portName_(std::move(portName)), settings_(settings), device_(std::make_unique<Device>()) {}

SerialPort::~SerialPort() {
    close();
}

std::uint32_t SerialPort::openDevice() {
    if (!device_->closing.isValid() || !device_->aborting.isValid()) {
        return EMFILE;
    }
    const int descriptor = ::open(portName_.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) {
        return currentError();
    }
    // The terminal's own exclusive mode does not keep out a privileged process; the lock does.
    if (flock(descriptor, LOCK_EX | LOCK_NB) != 0 || !configure(descriptor, settings_) ||
        ioctl(descriptor, TIOCEXCL) != 0 || tcflush(descriptor, TCIOFLUSH) != 0) {
        const std::uint32_t error = currentError();
        ::close(descriptor);
        return error;
    }
    device_->closing.reset();
    device_->descriptor = descriptor;
    hasHandle_.store(true);
    return 0;
}

void SerialPort::wakeAll() {
    device_->closing.set();
}

void SerialPort::closeDevice() {
    // Not left to the closing: a process that this one is just starting may hold the descriptor, too.
    ioctl(device_->descriptor, TIOCNXCL);
    flock(device_->descriptor, LOCK_UN);
    ::close(device_->descriptor);
    device_->descriptor = -1;
}

bool SerialPort::isOpen() {
    const Use use = this->use();
    if (!hasHandle()) {
        return false;
    }
    termios attributes{};
    if (tcgetattr(device_->descriptor, &attributes) == 0) {
        return true;
    }
    const std::uint32_t error = currentError();
    setLastError(error);
    return error != kErrorDeviceGone;
}

std::int32_t SerialPort::write(std::span<const std::uint8_t> bytes) {
    const Use use = this->use();
    std::uint32_t error = hasHandle() ? 0 : EBADF;
    const auto written = hasHandle() ? device_->write(bytes, settings_.writeTimeout, error) : -1;
    setLastError(error);
    return written;
}

std::int32_t SerialPort::read(std::span<std::uint8_t> buffer) {
    const Use use = this->use();
    std::uint32_t error = hasHandle() ? 0 : EBADF;
    const auto step = [this, buffer](std::size_t done) {
        return ::read(device_->descriptor, buffer.data() + done, buffer.size() - done);
    };
    const auto received =
        hasHandle() ? device_->repeat(step, buffer.size(), POLLIN, settings_.readTimeout, error)
                    : -1;
    setLastError(error);
    return received;
}

std::size_t SerialPort::readSome(std::span<std::uint8_t> buffer) {
    const Use use = this->use();
    if (!hasHandle() || buffer.empty()) {
        setLastError(hasHandle() ? 0 : EBADF);
        return 0;
    }
    const ssize_t count = readOnce(device_->descriptor, buffer);
    const bool isFailure = count < 0 && errno != EAGAIN;
    const std::uint32_t error = isFailure ? currentError() : count == 0 ? kErrorDeviceGone : 0;
    setLastError(error);
    if (error != 0) {
        logFailure(error);
    }
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

std::optional<std::size_t> SerialPort::queuedBytes() {
    const Use use = this->use();
    int count = 0;
    if (!hasHandle() || ioctl(device_->descriptor, FIONREAD, &count) != 0) {
        setLastError(hasHandle() ? currentError() : EBADF);
        return std::nullopt;
    }
    return static_cast<std::size_t>(count);
}

void SerialPort::discardReceived() {
    const Use use = this->use();
    if (hasHandle()) {
        tcflush(device_->descriptor, TCIFLUSH);
    }
}

bool SerialPort::waitForData(std::chrono::milliseconds timeout) {
    const Use use = this->use();
    if (!hasHandle()) {
        setLastError(EBADF);
        return false;
    }
    std::uint32_t error = 0;
    const auto wait = device_->waitFor(POLLIN, true, deadlineAfter(timeout), error);
    setLastError(error);
    if (wait == Device::Wait::failed && error != kErrorDeviceGone) {
        std::this_thread::sleep_for(kFailedWaitPause);
    }
    return wait == Device::Wait::ready;
}

void SerialPort::signalAbort() {
    device_->aborting.set();
}

void SerialPort::clearAbort() {
    device_->aborting.reset();
}

}  // namespace ovk

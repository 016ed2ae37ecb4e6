#include "serial/SerialPort.h"

#include <array>
#include <mutex>

namespace ovk {

bool SerialPort::open() {
    if (hasHandle()) {
        if (isOpen() || lastError() != kErrorDeviceGone) {
            return false;
        }
        close();
    }
    const std::uint32_t error = openDevice();
    setLastError(error);
    return error == 0;
}

void SerialPort::close() {
    if (!hasHandle_.exchange(false)) {
        return;
    }
    wakeAll();
    const std::unique_lock alone(usage_);
    closeDevice();
}

std::vector<std::uint8_t> SerialPort::readAvailable() {
    std::vector<std::uint8_t> bytes(queuedBytes().value_or(0));
    bytes.resize(readSome(bytes));
    return bytes;
}

std::string SerialPort::readLine(std::chrono::milliseconds timeout) {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    auto remaining = timeout;
    std::string line;
    while (remaining.count() > 0) {
        if (waitForData(remaining)) {
            for (std::size_t queued = queuedBytes().value_or(0); queued > 0; --queued) {
                std::array<std::uint8_t, 1> byte{};
                if (read(byte) != 1) {
                    break;
                }
                line += static_cast<char>(byte[0]);
                if (line.ends_with("\r\n")) {
                    line.resize(line.size() - 2);
                    return line;
                }
            }
        } else if (!hasHandle() || lastError() == kErrorDeviceGone) {
            break;
        }
        remaining -= std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
    }
    return line;
}

}  // namespace ovk

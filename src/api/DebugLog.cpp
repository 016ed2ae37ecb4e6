#include "api/DebugLog.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <mutex>

#include "api/Module.h"
#include "api/NeverDestroyed.h"

namespace ovk::debuglog {
namespace {

struct Log {
    std::mutex mutex;  // guards the file
    std::ofstream file;
    std::atomic<bool> isOpen{false};
};

// Created with the library, before any object that logs from its destructor.
NeverDestroyed<Log> log;
const bool isToldOfForks = (module::callInForkedChild([] { log.renew(); }), true);

std::uint64_t nowInTicks() {
    using Ticks = std::chrono::duration<std::uint64_t, std::ratio<1, 10'000'000>>;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<Ticks>(now).count();
}

}  // namespace

bool open(const std::string& fileName) {
    const std::lock_guard guard(log->mutex);
    // An open log is closed first: it may be the same file, in which nobody may go on writing from
    // where they were.
    log->file.close();
    log->file.clear();
    log->file.open(fileName, std::ios::binary | std::ios::trunc);
    const bool isOpened = log->file.is_open();
    log->isOpen.store(isOpened, std::memory_order_relaxed);
    if (!isOpened) {
        module::writeToDebugger("Open log file failed\r\n");
    }
    return isOpened;
}

void close() {
    const std::lock_guard guard(log->mutex);
    log->isOpen.store(false, std::memory_order_relaxed);
    log->file.close();
}

bool isOpen() noexcept {
    return log->isOpen.load(std::memory_order_relaxed);
}

void write(const char* format, ...) noexcept {
    if (!isOpen()) {
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    try {
        const std::string line = formatTime(nowInTicks()) + formatMessage(format, arguments);
        const std::lock_guard guard(log->mutex);
        log->file << line << std::flush;
    } catch (const std::exception&) {
        // A line that cannot be written is lost; the logged operation must not fail for it.
    }
    va_end(arguments);
}

std::string toHex(std::span<const std::uint8_t> bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 3);
    for (const std::uint8_t byte : bytes) {
        if (!text.empty()) {
            text += ' ';
        }
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0x0F];
    }
    return text;
}

std::string formatTime(std::uint64_t ticks) {
    constexpr std::uint64_t kUtcOffsetHours = 8;
    const auto hours = ticks / 36'000'000'000 % 24 + kUtcOffsetHours;
    const auto minutes = ticks / 600'000'000 % 60;
    const auto seconds = ticks / 10'000'000 % 60;
    const auto milliseconds = ticks / 10'000 % 1000;
    return "[" + std::to_string(hours) + ":" + std::to_string(minutes) + ":" +
           std::to_string(seconds) + "." + std::to_string(milliseconds) + "]";
}

std::string formatMessage(const char* format, std::va_list arguments) {
    constexpr std::size_t kBufferSize = 1024;
    constexpr std::size_t kRoomForLineFeed = kBufferSize - 2;
    std::array<char, kBufferSize> buffer;
    const int length = std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
    if (length < 0 || static_cast<std::size_t>(length) >= buffer.size()) {
        return {};
    }
    std::string message(buffer.data(), static_cast<std::size_t>(length));
    if (!message.empty() && message.back() != '\n' && message.size() < kRoomForLineFeed) {
        message += '\n';
    }
    return message;
}

}  // namespace ovk::debuglog

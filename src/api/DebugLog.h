#pragma once

#include <cstdarg>
#include <cstdint>
#include <span>
#include <string>

/// \file
/// The process-wide debug log, which is off until it is opened and in a forked child. It holds
/// one line a message, each after the time of day in square brackets. Every function may be called
/// from any thread.

#if defined(__MINGW32__)
#define OVK_PRINTF_FORMAT(text, first) __attribute__((format(gnu_printf, text, first)))
#elif defined(__GNUC__)
#define OVK_PRINTF_FORMAT(text, first) __attribute__((format(printf, text, first)))
#else
#define OVK_PRINTF_FORMAT(text, first)
#endif

namespace ovk::debuglog {

/// Opens the log, emptying the file. On failure informs the debugger, leaves the log off and
/// returns false.
bool open(const std::string& fileName);

/// Closes the log, after any line that another thread is writing.
void close();

/// Ask before preparing anything costly for a message.
bool isOpen() noexcept;

/// Writes a line, with a line feed added unless the message is empty, ends with one already, or is
/// longer than 1021 bytes. Of a message longer than 1023 bytes only the time is written. Does
/// nothing when the log is off.
void write(const char* format, ...) noexcept OVK_PRINTF_FORMAT(1, 2);

/// The bytes in hexadecimal, two digits each, separated by spaces.
std::string toHex(std::span<const std::uint8_t> bytes);

/// "[h:m:s.ms]" without leading zeros, the hours of UTC plus 8 and so from 8 to 31.
/// \param ticks time since 1 January 1970 UTC in units of 100 ns.
std::string formatTime(std::uint64_t ticks);

/// The message as write() puts it into the file, line feed included.
std::string formatMessage(const char* format, std::va_list arguments);

}  // namespace ovk::debuglog

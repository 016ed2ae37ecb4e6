#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace cqtool {

/// The text without the spaces, tabs and line ends around it.
std::string_view trimmed(std::string_view text);

/// ASCII letters in lower case, the rest as it is.
std::string lowerCase(std::string_view text);

/// The texts with the separator between them.
std::string joined(const std::vector<std::string>& texts, std::string_view separator);

/// A count with the word for what is counted: "1 standard", "2 standards". \param plural with an s.
std::string counted(std::uint64_t count, std::string_view plural);

/// The length of the UTF-8 character that the text, not empty, begins with; 0 if it is none.
std::size_t utf8Length(std::string_view text);

/// A text from outside, a name, a cell, an argument, as it may be shown on a terminal or a page:
/// control characters, line ends among them, and bytes that are no UTF-8 become '?'.
std::string shown(std::string_view text);

/// The same of what an instrument put into a fixed text field: up to its NUL or its end.
std::string printableText(const char* field, std::size_t size);

/// Splits text into arguments as a shell would: at spaces, with '...' and "..." for quoting and a
/// backslash before a literal character. Throws UsageError for a quotation that does not end.
std::vector<std::string> splitArguments(std::string_view text);

/// Two hexadecimal digits a byte.
std::string hexText(const std::uint8_t* bytes, std::size_t size);
/// The reverse; false if these are not exactly the digits of so many bytes.
bool bytesOfHex(std::string_view digits, std::span<std::uint8_t> bytes);

/// How many columns a terminal needs for UTF-8 text; escape sequences take none.
std::size_t displayWidth(std::string_view text);

}  // namespace cqtool

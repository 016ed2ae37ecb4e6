#pragma once

#include <string>
#include <string_view>

#include "cqapi/CQApi.h"
#include "text/JsonObject.h"

namespace cqtool {

/// The reference values of a white tile as JSON:
///
///     {"text": "WT-0001", "reserved": [16 bytes], "firstBlock": [31 numbers],
///      "secondBlock": [31 numbers]}
///
/// The blocks are 31 little-endian 32-bit floats each, which the numbers give exactly; not-a-number
/// and infinities are null. Unprintable bytes of the text become '?', and the bytes after its NUL
/// are left out: only the 280 bytes are always exact.
JsonObject whiteBoardJson(const CqWhiteBoardParameter& parameter);

/// Reads the same; "reserved" is optional, and 0 by default. Throws Failure, with the source's name
/// and the member, for anything else.
CqWhiteBoardParameter whiteBoardOfJson(std::string_view content, const std::string& source);

/// The 280 bytes as they are.
std::string whiteBoardBytes(const CqWhiteBoardParameter& parameter);
/// Throws Failure for another number of bytes.
CqWhiteBoardParameter whiteBoardOfBytes(std::string_view content, const std::string& source);

}  // namespace cqtool

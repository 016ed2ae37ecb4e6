#pragma once

#include <string>

#include "Bytes.h"

namespace vi::wired {

/// One packet in words for the log: its name and fields.
/// \param packet a whole packet from either side.
std::string describe(ByteView packet);

}  // namespace vi::wired

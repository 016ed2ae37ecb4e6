#pragma once

#include <cstdint>

#include "cqapi/CQApi.h"

namespace ovk {

/// A number of CqResult, or one beyond it.
using ResultCode = std::uint32_t;

/// The fixed English text of a code; codes without one of their own share that of
/// CQ_UNKNOWN_ERROR. Never null, lives for ever.
const char* resultText(ResultCode code) noexcept;

}  // namespace ovk

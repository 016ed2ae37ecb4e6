#pragma once

#include <cstdint>

#include "cqapi/CQApi.h"

namespace ovk {

/// A number of CqResult, or one beyond it.
using ResultCode = std::uint32_t;

/// The fixed English text of a code; codes without their own text share that of CQ_UNKNOWN_ERROR.
/// Never null, static storage.
const char* resultText(ResultCode code) noexcept;

}  // namespace ovk

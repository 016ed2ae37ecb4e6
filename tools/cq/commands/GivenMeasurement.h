#pragma once

#include <string>

#include "exchange/Exchange.h"

namespace cqtool {

/// One measurement in a file, as the command line names it: "FILE" that holds one or one standard,
/// "FILE:NAME", or "FILE:N" with its index. Of the names and indices that are there twice the
/// standard's counts. A job is such a file, too.
/// \return with L*, a*, b* for the viewing wherever there is a spectrum or a record to compute them
/// from.
/// Throws Failure, saying what there is, for anything else, and for L*, a*, b* of another viewing
/// without a spectrum.
RecordEntry measurementIn(const std::string& text, const Viewing& viewing,
                          const ReadOptions& options = {});

}  // namespace cqtool

#pragma once

#include <string>
#include <string_view>

#include "exchange/Exchange.h"
#include "text/JsonForward.h"
#include "text/JsonObject.h"

/// \file
/// The individual formats, for Exchange.cpp, with the contracts of writtenRecords() and
/// parsedRecords().

namespace cqtool {

std::string csvOf(const RecordSet& set, const WriteOptions& options);
RecordSet recordsOfCsv(std::string_view content, const std::string& source,
                       const ReadOptions& options);

JsonObject jsonOf(const RecordSet& set);
RecordSet recordsOfJson(std::string_view content, const std::string& source,
                        const ReadOptions& options);
/// One of its entries. \param index unless it has one.
RecordEntry entryOfJson(const Json& entry, const std::string& where, std::uint32_t index,
                        const ReadOptions& options);

std::string cgatsOf(const RecordSet& set);
RecordSet recordsOfCgats(std::string_view content, const std::string& source,
                         const ReadOptions& options);

std::string qtxOf(const RecordSet& set);
RecordSet recordsOfQtx(std::string_view content, const std::string& source);

std::string cxfOf(const RecordSet& set);
RecordSet recordsOfCxf(std::string_view content, const std::string& source);

/// A member or cell that names a kind; throws Failure, beginning with `where`, for another word.
bool isStandardOf(std::string_view kind, const std::string& where);

/// A record from its 512 hexadecimal digits; throws Failure as above.
CqMeasurementRecord recordOfHex(std::string_view digits, const std::string& where);

/// Throws Failure, beginning with `where`, for a value that is not a reflectance, most often
/// because it is in percent.
void checkReflectance(double value, const std::string& where);

/// An illuminant and observer by their names; throws Failure as above.
Viewing viewingOf(const std::string& illuminant, const std::string& observer,
                  const std::string& where);

/// The name that an entry without one gets: "standard 3", "trial 3", without a kind "record 3".
std::string defaultName(std::uint32_t index, std::optional<bool> isStandard);

}  // namespace cqtool

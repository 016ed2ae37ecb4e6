#pragma once

#include <optional>
#include <string>
#include <vector>

#include "exchange/Exchange.h"
#include "job/Job.h"

namespace cqtool {

/// A standard, if there is one, and the trials compared with it.
struct TrialGroup {
    std::optional<RecordEntry> standard;
    std::vector<RecordEntry> trials;
};

/// The entries in file order: every trial belongs to the preceding standard.
std::vector<TrialGroup> groupsOf(const RecordSet& set);

/// Every entry of the set, whatever its kind, as a trial of one of these standards: of the only
/// one, or one to one in order. Throws Failure if neither is possible.
/// \param source the standards' name in messages.
std::vector<TrialGroup> groupsAgainst(const std::vector<RecordEntry>& standards,
                                      const RecordSet& set, const std::string& source);

/// An exported file as a job: with one illuminant, the set's, and no limits.
/// \param set the source of title, origin and viewing.
Job jobOf(const RecordSet& set, const std::vector<TrialGroup>& groups);

/// The part of a job that other programs get: the measurements that are not struck out, each
/// standard before its trials, with L*, a*, b* for the first illuminant.
RecordSet recordSetOf(const Job& job);

/// A self-contained HTML page about an exported file.
std::string recordReport(const RecordSet& set);

}  // namespace cqtool

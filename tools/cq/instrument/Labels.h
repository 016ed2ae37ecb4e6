#pragma once

#include <filesystem>
#include <map>
#include <string>

#include "cqapi/CQApi.h"

namespace cqtool {

/// What an instrument's texts and status items are called, by their names here: "infoText3",
/// "item14". Those without a label are not in it.
using Labels = std::map<std::string, std::string>;

/// The labels of the file, {"labels": {"infoText3": "model"}}; without a file those of the virtual
/// instrument if it is one. Other members, a record layout's, are left aside. Throws Failure for a
/// file that is not of this form.
Labels labelsFor(const std::filesystem::path& file, const CqDeviceInfo& info);

/// The label, or else the name itself.
std::string labelOf(const Labels& labels, const std::string& name);

}  // namespace cqtool

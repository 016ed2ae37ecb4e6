#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vi::adapter {

/// The planned faults; faultHelp() describes each.
struct FaultPlan {
    // The module; commands are counted from 1.
    std::optional<std::uint32_t> atSilent;
    std::set<std::uint32_t> atError;
    bool atSplit = false;
    bool atBlank = false;
    std::chrono::milliseconds atLate{0};
    bool noLink = false;

    // The instruments; counted in packets from the host.
    std::optional<std::uint32_t> bleSilent;
    std::set<std::uint32_t> bleFail;
    std::set<std::uint32_t> bleInval;
    std::optional<std::uint32_t> linkDrop;
    std::optional<std::uint32_t> unplug;

    // Counted in replies, or in packets to the host.
    std::set<std::uint32_t> bleLength;
    std::set<std::uint32_t> bleJoined;
    std::set<std::uint32_t> blePause;
    bool bleSplit = false;
    bool bleBytes = false;
    std::chrono::milliseconds bleLate{0};

    bool oneByte = false;
};

/// Adds one fault to the plan.
/// \param text NAME or NAME:N, N decimal or hexadecimal with 0x.
/// \return empty, or what is wrong with the text; the plan is then unchanged.
std::string addFault(FaultPlan& plan, const std::string& text);

/// The same for several; the plan is unchanged if one is wrong.
std::string addFaults(FaultPlan& plan, const std::vector<std::string>& texts);

/// True if the text names one of these faults.
bool hasFault(const std::string& text);

/// One line per fault: name, argument, meaning.
std::string faultHelp();

}  // namespace vi::adapter

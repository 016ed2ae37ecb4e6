#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vi::wired {

/// The planned faults; faultHelp() describes each.
struct FaultPlan {
    // Counted from 1, over everything that the instrument sends.
    std::set<std::uint32_t> badCrc;
    std::set<std::uint32_t> lostAck;
    std::set<std::uint32_t> duplicate;
    std::set<std::uint32_t> wrongSequence;

    std::uint32_t garbage = 0;
    bool oneByte = false;
    std::optional<std::uint16_t> abortReply;
    std::optional<std::uint16_t> abortSend;
    std::optional<std::uint32_t> claim;

    // Counted in packets from the host.
    std::uint32_t retransmit = 0;
    std::optional<std::uint32_t> silence;
    std::optional<std::uint32_t> disconnect;
    std::optional<std::uint32_t> unplug;
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

}  // namespace vi::wired

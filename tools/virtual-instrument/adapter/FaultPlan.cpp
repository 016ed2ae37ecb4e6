#include "adapter/FaultPlan.h"

#include <span>

#include "FaultTable.h"

namespace vi::adapter {
namespace {

using std::chrono::milliseconds;

constexpr std::uint32_t kMaxCount = 1'000'000'000;
constexpr std::uint32_t kMaxDelayMs = 60'000;

constexpr Fault<FaultPlan> kFaults[] = {
    {{"at-silent", "N", 1, 1, kMaxCount, "no answer from the N-th AT command on"},
     [](FaultPlan& p, std::uint32_t n) { p.atSilent = n; }},
    {{"at-error", "N", 1, 1, kMaxCount,
      "the N-th AT command is answered with ERROR and not carried out"},
     [](FaultPlan& p, std::uint32_t n) { p.atError.insert(n); }},
    {{"at-split", "", 1, 1, 1, "each line of the module arrives in two pieces"},
     [](FaultPlan& p, std::uint32_t) { p.atSplit = true; }},
    {{"at-blank", "", 1, 1, 1, "each answer of the module begins with an empty line"},
     [](FaultPlan& p, std::uint32_t) { p.atBlank = true; }},
    {{"at-late", "MS", 500, 1, kMaxDelayMs, "answers of the module come MS milliseconds late"},
     [](FaultPlan& p, std::uint32_t n) { p.atLate = milliseconds(n); }},
    {{"no-link", "", 1, 1, 1, "AT+CT is answered with OK, but no link is established"},
     [](FaultPlan& p, std::uint32_t) { p.noLink = true; }},
    {{"ble-silent", "N", 0, 0, kMaxCount, "instruments fall silent after N packets from the host"},
     [](FaultPlan& p, std::uint32_t n) { p.bleSilent = n; }},
    {{"ble-split", "", 1, 1, 1, "each packet to the host arrives in two pieces, 100 ms apart"},
     [](FaultPlan& p, std::uint32_t) { p.bleSplit = true; }},
    {{"ble-bytes", "", 1, 1, 1,
      "each packet to the host goes out byte by byte with a small pause after each"},
     [](FaultPlan& p, std::uint32_t) { p.bleBytes = true; }},
    {{"ble-pause", "N", 1, 1, kMaxCount, "the N-th packet to the host has a pause of 1.2 s in it"},
     [](FaultPlan& p, std::uint32_t n) { p.blePause.insert(n); }},
    {{"ble-joined", "N", 1, 1, kMaxCount, "the N-th reply arrives joined to a second packet"},
     [](FaultPlan& p, std::uint32_t n) { p.bleJoined.insert(n); }},
    {{"ble-late", "MS", 3000, 1, kMaxDelayMs, "replies of instruments come MS milliseconds late"},
     [](FaultPlan& p, std::uint32_t n) { p.bleLate = milliseconds(n); }},
    {{"ble-fail", "N", 1, 1, kMaxCount, "the N-th packet from the host is refused with FAIL"},
     [](FaultPlan& p, std::uint32_t n) { p.bleFail.insert(n); }},
    {{"ble-inval", "N", 1, 1, kMaxCount, "the N-th packet from the host is refused with INVAL"},
     [](FaultPlan& p, std::uint32_t n) { p.bleInval.insert(n); }},
    {{"ble-length", "N", 1, 1, kMaxCount,
      "the N-th reply has a payload one byte too short; an empty one has one byte"},
     [](FaultPlan& p, std::uint32_t n) { p.bleLength.insert(n); }},
    {{"link-drop", "N", 1, 1, kMaxCount, "the link ends after N packets from the host, once"},
     [](FaultPlan& p, std::uint32_t n) { p.linkDrop = n; }},
    {{"unplug", "N", 1, 1, kMaxCount, "the line disappears at the N-th packet from the host, once"},
     [](FaultPlan& p, std::uint32_t n) { p.unplug = n; }},
    {{"one-byte", "", 1, 1, 1, "everything goes out byte by byte with a small pause after each"},
     [](FaultPlan& p, std::uint32_t) { p.oneByte = true; }},
};

constexpr std::span<const Fault<FaultPlan>> kTable(kFaults);

}  // namespace

std::string addFault(FaultPlan& plan, const std::string& text) {
    return vi::addFault(kTable, plan, text);
}

std::string addFaults(FaultPlan& plan, const std::vector<std::string>& texts) {
    return vi::addFaults(kTable, plan, texts);
}

bool hasFault(const std::string& text) {
    return findFault(kTable, splitFault(text).name) != nullptr;
}

std::string faultHelp() {
    return vi::faultHelp(kTable);
}

}  // namespace vi::adapter

#include "wired/FaultPlan.h"

#include <span>

#include "FaultTable.h"

namespace vi::wired {
namespace {

constexpr std::uint32_t kMaxCount = 1'000'000'000;
constexpr std::uint32_t kMaxGarbage = 65'535;

constexpr Fault<FaultPlan> kFaults[] = {
    {{"bad-crc", "N", 1, 1, kMaxCount,
      "the N-th data packet to the host has a wrong CRC; when sent again, it is correct"},
     [](FaultPlan& p, std::uint32_t n) { p.badCrc.insert(n); }},
    {{"lost-ack", "N", 1, 1, kMaxCount, "the N-th acknowledgement due to the host is not sent"},
     [](FaultPlan& p, std::uint32_t n) { p.lostAck.insert(n); }},
    {{"duplicate", "N", 1, 1, kMaxCount, "the N-th packet to the host is sent twice"},
     [](FaultPlan& p, std::uint32_t n) { p.duplicate.insert(n); }},
    {{"wrong-sequence", "N", 1, 1, kMaxCount,
      "the N-th data packet to the host is first sent with a wrong sequence number"},
     [](FaultPlan& p, std::uint32_t n) { p.wrongSequence.insert(n); }},
    {{"garbage", "N", 7, 1, kMaxGarbage,
      "N random bytes, never a start mark, before each packet to the host"},
     [](FaultPlan& p, std::uint32_t n) { p.garbage = n; }},
    {{"one-byte", "", 1, 1, 1, "packets go out byte by byte with a small pause after each"},
     [](FaultPlan& p, std::uint32_t) { p.oneByte = true; }},
    {{"abort-reply", "CODE", 0x0102, 0, 0xFFFF,
      "each transfer to the host is aborted after its first packet, or in place of a single one"},
     [](FaultPlan& p, std::uint32_t n) { p.abortReply = static_cast<std::uint16_t>(n); }},
    {{"abort-send", "CODE", 0x0102, 0, 0xFFFF,
      "each transfer from the host is aborted in answer to its first packet"},
     [](FaultPlan& p, std::uint32_t n) { p.abortSend = static_cast<std::uint16_t>(n); }},
    {{"claim", "N", 0xFFFFFFFF, 0, 0xFFFFFFFF,
      "the instrument claims to store N standards and N samples, whatever it holds"},
     [](FaultPlan& p, std::uint32_t n) { p.claim = n; }},
    {{"retransmit", "N", 1, 0, kMaxCount,
      "each data packet from the host is requested again N times before it is accepted"},
     [](FaultPlan& p, std::uint32_t n) { p.retransmit = n; }},
    {{"silence", "N", 0, 0, kMaxCount,
      "the instrument neither hears nor sends anything after N packets from the host"},
     [](FaultPlan& p, std::uint32_t n) { p.silence = n; }},
    {{"disconnect", "N", 1, 1, kMaxCount,
      "the N-th packet from the host is answered with a disconnect request, once"},
     [](FaultPlan& p, std::uint32_t n) { p.disconnect = n; }},
    {{"unplug", "N", 1, 1, kMaxCount, "the line disappears at the N-th packet from the host, once"},
     [](FaultPlan& p, std::uint32_t n) { p.unplug = n; }},
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

}  // namespace vi::wired

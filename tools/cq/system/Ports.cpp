#include "system/Ports.h"

#include <algorithm>
#include <cstdio>

#include "Failure.h"
#include "system/PortTraits.h"

namespace cqtool {
namespace {

constexpr UsbIdentity kInstrument{0x0483, 0x5740};
constexpr UsbIdentity kAdapterIdentity{0x1A86, 0x7523};
constexpr std::string_view kAdapterProduct = "CH340";
/// Holds its own port, under its name as the system cuts it off.
constexpr std::string_view kVirtualInstrument = "cq-virtual-inst";
constexpr std::string_view kHolderSeparator = ", ";

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// A name split in two: the part before the number at its end, and that number without leading
/// zeros.
std::pair<std::string_view, std::string_view> splitName(std::string_view name) {
    std::size_t begin = name.size();
    while (begin > 0 && isDigit(name[begin - 1])) {
        --begin;
    }
    const std::size_t number = std::min(name.find_first_not_of('0', begin), name.size());
    return {name.substr(0, begin), name.substr(number)};
}

}  // namespace

std::string_view nameOf(PortKind kind) {
    switch (kind) {
        case PortKind::instrument:
            return "instrument";
        case PortKind::adapter:
            return "adapter";
        case PortKind::other:
            break;
    }
    return "other";
}

std::string textOf(const UsbIdentity& identity) {
    char text[16];
    std::snprintf(text, sizeof text, "%04x:%04x", static_cast<unsigned>(identity.vendor),
                  static_cast<unsigned>(identity.product));
    return text;
}

PortKind kindOf(const std::optional<UsbIdentity>& usb, std::string_view description) {
    if (usb == kInstrument) {
        return PortKind::instrument;
    }
    return usb == kAdapterIdentity || description.find(kAdapterProduct) != std::string_view::npos
               ? PortKind::adapter
               : PortKind::other;
}

void sortPorts(std::vector<PortInfo>& ports) {
    std::sort(ports.begin(), ports.end(), [](const PortInfo& one, const PortInfo& other) {
        if (one.kind != other.kind) {
            return one.kind < other.kind;
        }
        const auto [name, number] = splitName(one.name);
        const auto [otherName, otherNumber] = splitName(other.name);
        if (name != otherName) {
            return name < otherName;
        }
        return number.size() != otherNumber.size() ? number.size() < otherNumber.size()
                                                   : number < otherNumber;
    });
}

std::string obstacleOf(const PortInfo& port) {
    if (!port.isAccessible) {
        return port.accessProblem;
    }
    return port.heldBy.empty() ? std::string() : "held by " + port.heldBy;
}

std::string holderOf(const std::string& port) {
    std::string holders;
    try {
        holders = describePort(port).heldBy;
    } catch (const Failure&) {
        return {};
    }
    if (const std::size_t own = holders.find(kVirtualInstrument); own != std::string::npos) {
        const std::size_t end = holders.find(kHolderSeparator, own);
        holders.erase(own, end == std::string::npos ? end : end + kHolderSeparator.size() - own);
    }
    return holders.substr(0, holders.find_last_not_of(kHolderSeparator) + 1);
}

std::string adviceForFailedOpen(const std::string& port, PortUse use) {
    const std::string holder = holderOf(port);
    return holder.empty() ? adviceForPort(port, use)
                          : port + " is held by " + holder +
                                ": end that program, a port can be open in one program only";
}

}  // namespace cqtool

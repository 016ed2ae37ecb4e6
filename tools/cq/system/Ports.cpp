#include "system/Ports.h"

#include <algorithm>
#include <cstdio>

#include "system/PortTraits.h"

namespace cqtool {
namespace {

constexpr UsbIdentity kInstrument{0x0483, 0x5740};
constexpr UsbIdentity kAdapter{0x1A86, 0x7523};
constexpr std::string_view kAdapterProduct = "CH340";

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
    return usb == kAdapter || description.find(kAdapterProduct) != std::string_view::npos
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

}  // namespace cqtool

#include "FaultTable.h"

#include <algorithm>
#include <charconv>

namespace vi {
namespace {

bool parseNumber(std::string_view text, std::uint32_t& value) {
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        base = 16;
        text.remove_prefix(2);
    }
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    return error == std::errc{} && end == text.data() + text.size();
}

std::string label(const FaultName& fault) {
    std::string text(fault.name);
    if (!fault.argument.empty()) {
        text.append("[:").append(fault.argument).append("]");
    }
    return text;
}

}  // namespace

FaultText splitFault(const std::string& text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos) {
        return {.name = text, .hasValue = false, .value = {}};
    }
    return {.name = text.substr(0, colon), .hasValue = true, .value = text.substr(colon + 1)};
}

std::string readFaultValue(const FaultName& fault, const FaultText& text, std::uint32_t& value) {
    if (!text.hasValue) {
        return {};
    }
    const std::string quoted = "the fault '" + text.name + "'";
    if (fault.argument.empty()) {
        return quoted + " takes no number";
    }
    if (!parseNumber(text.value, value) || value < fault.min || value > fault.max) {
        return quoted + " takes a number from " + std::to_string(fault.min) + " to " +
               std::to_string(fault.max) + " (0x for hexadecimal), not '" + text.value + "'";
    }
    return {};
}

std::string faultHelp(const FaultName& fault) {
    constexpr std::size_t kColumn = 20;
    std::string line = "  " + label(fault);
    line.resize(std::max(line.size() + 1, kColumn + 2), ' ');
    line.append(fault.help);
    if (fault.argument == "CODE") {
        line += " (default 0x0102)";
    } else if (!fault.argument.empty()) {
        line += " (default " + std::to_string(fault.defaultValue) + ")";
    }
    return line + '\n';
}

}  // namespace vi

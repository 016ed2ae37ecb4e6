#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vi {

/// A fault as the command line names it.
struct FaultName {
    std::string_view name;
    std::string_view argument;  ///< "N", "MS", "CODE"; empty if the fault takes no number
    std::uint32_t defaultValue;
    std::uint32_t min;
    std::uint32_t max;
    std::string_view help;
};

/// A fault, and how it is entered into a plan.
template <class Plan>
struct Fault {
    FaultName name;
    void (*add)(Plan& plan, std::uint32_t value);
};

/// NAME or NAME:N, split.
struct FaultText {
    std::string name;
    bool hasValue = false;
    std::string value;
};
FaultText splitFault(const std::string& text);

/// \param value the default on entry; N, decimal or hexadecimal with 0x, if the text has it.
/// \return empty, or what is wrong with the number.
std::string readFaultValue(const FaultName& fault, const FaultText& text, std::uint32_t& value);

/// One line of help: name, argument, meaning, default.
std::string faultHelp(const FaultName& fault);

template <class Plan>
const Fault<Plan>* findFault(std::span<const Fault<Plan>> table, std::string_view name) {
    for (const Fault<Plan>& fault : table) {
        if (fault.name.name == name) {
            return &fault;
        }
    }
    return nullptr;
}

/// Adds one fault to the plan.
/// \param text NAME or NAME:N, N decimal or hexadecimal with 0x.
/// \return empty, or what is wrong with the text; the plan is then unchanged.
template <class Plan>
std::string addFault(std::span<const Fault<Plan>> table, Plan& plan, const std::string& text) {
    const FaultText parts = splitFault(text);
    const auto* fault = findFault(table, parts.name);
    if (fault == nullptr) {
        std::string names;
        for (const Fault<Plan>& known : table) {
            names.append(names.empty() ? "" : ", ").append(known.name.name);
        }
        return "there is no fault '" + parts.name + "'; choose from " + names;
    }
    std::uint32_t value = fault->name.defaultValue;
    std::string problem = readFaultValue(fault->name, parts, value);
    if (problem.empty()) {
        fault->add(plan, value);
    }
    return problem;
}

/// The same for several; the plan is unchanged if one is wrong.
template <class Plan>
std::string addFaults(std::span<const Fault<Plan>> table, Plan& plan,
                      const std::vector<std::string>& texts) {
    Plan more = plan;
    for (const std::string& text : texts) {
        std::string problem = addFault(table, more, text);
        if (!problem.empty()) {
            return problem;
        }
    }
    plan = std::move(more);
    return {};
}

/// One line per fault: name, argument, meaning.
template <class Plan>
std::string faultHelp(std::span<const Fault<Plan>> table) {
    std::string help;
    for (const Fault<Plan>& fault : table) {
        help += faultHelp(fault.name);
    }
    return help;
}

}  // namespace vi

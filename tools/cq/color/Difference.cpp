#include "color/Difference.h"

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <vector>

#include "Failure.h"
#include "ResultText.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr double kMostFactor = 1000;

struct FormulaInfo {
    const char* name;   ///< on the command line
    const char* stem;   ///< of its symbol
    const char* index;  ///< of its symbol
    std::size_t factors;
};

// Indexed by CqDifferenceFormula.
constexpr FormulaInfo kFormulas[] = {
    {"76", "ΔE*", "ab", 0},  {"94", "ΔE", "94", 3},   {"94t", "ΔE", "94t", 3},
    {"cmc", "ΔE", "cmc", 2}, {"2000", "ΔE", "00", 3}, {"99", "ΔE", "99", 0},
    {"99o", "ΔE", "99o", 0},
};

constexpr DifferenceFormula kUsual[] = {
    {CqDeltaE76, {}},   {CqDeltaE94, {}}, {CqDeltaE94Textile, {}}, {CqDeltaECmc, {}},
    {CqDeltaE2000, {}}, {CqDeltaE99, {}}, {CqDeltaE99o, {}},
};

[[noreturn]] void refuse(const std::string& text) {
    throw UsageError("the formula must be one of " + differenceFormulaNames() +
                     ", with factors above 0 as in 2000:2:1:1 or cmc:2:1, not '" + text + "'");
}

std::vector<std::string> partsOf(const std::string& text) {
    std::vector<std::string> parts;
    std::istringstream stream(text + ':');
    for (std::string part; std::getline(stream, part, ':');) {
        parts.push_back(part);
    }
    return parts;
}

/// As in ":2:1"; nothing for the usual ones.
std::string factorsText(const DifferenceFormula& formula) {
    std::string text;
    for (std::size_t i = 0; formula.factors && i < kFormulas[formula.number].factors; ++i) {
        text += ':' + digitsOf(shortest((*formula.factors)[i]));
    }
    return text;
}

/// CMC is never written without its factors.
std::string inBrackets(const DifferenceFormula& formula) {
    const std::string usual = formula.number == CqDeltaECmc ? ":2:1" : "";
    const std::string text = formula.factors ? factorsText(formula) : usual;
    return text.empty() ? text : '(' + text.substr(1) + ')';
}

}  // namespace

std::span<const DifferenceFormula> differenceFormulas() {
    return kUsual;
}

DifferenceFormula differenceFormulaNamed(const std::string& text) {
    const auto parts = partsOf(text);
    const auto found = std::find_if(
        std::begin(kFormulas), std::end(kFormulas),
        [name = lowerCase(parts.front())](const FormulaInfo& info) { return name == info.name; });
    if (found == std::end(kFormulas) || (parts.size() > 1 && parts.size() - 1 != found->factors)) {
        refuse(text);
    }
    DifferenceFormula formula{static_cast<std::uint32_t>(found - kFormulas), {}};
    if (parts.size() > 1) {
        formula.factors = {1.0F, 1.0F, 1.0F};
    }
    for (std::size_t i = 1; i < parts.size(); ++i) {
        const auto factor = parseNumber(parts[i]);
        if (!factor || *factor < 1 / kMostFactor || *factor > kMostFactor) {
            refuse(text);
        }
        (*formula.factors)[i - 1] = static_cast<float>(*factor);
    }
    return formula;
}

std::string differenceFormulaNames() {
    std::vector<std::string> names;
    for (const FormulaInfo& info : kFormulas) {
        names.emplace_back(info.name);
    }
    return joined(names, ", ");
}

std::string nameOf(const DifferenceFormula& formula) {
    return kFormulas[formula.number].name + factorsText(formula);
}

std::string symbolOf(const DifferenceFormula& formula) {
    const FormulaInfo& info = kFormulas[formula.number];
    return std::string(info.stem) + info.index + inBrackets(formula);
}

std::string symbolInHtml(const DifferenceFormula& formula) {
    const FormulaInfo& info = kFormulas[formula.number];
    return std::string(info.stem) + "<sub>" + info.index + inBrackets(formula) + "</sub>";
}

CqColorDifference compare(const DifferenceFormula& formula, const ColorData& standard,
                          const ColorData& trial) {
    CqColorDifference result{};
    check(cqGetColorDifference(formula.number, formula.factors ? formula.factors->data() : nullptr,
                               &standard, &trial, &result),
          Operation::computeColor);
    return result;
}

double difference(const DifferenceFormula& formula, const ColorData& standard,
                  const ColorData& trial) {
    return shortest(compare(formula, standard, trial).deltaE);
}

}  // namespace cqtool

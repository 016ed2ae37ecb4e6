#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "cqapi/CQApi.h"

namespace cqtool {

/// A formula of the library for colour differences, and its factors.
struct DifferenceFormula {
    std::uint32_t number = CqDeltaE76;            ///< of CqDifferenceFormula
    std::optional<std::array<float, 3>> factors;  ///< nothing: the usual ones

    bool operator==(const DifferenceFormula&) const = default;
};

/// Every formula with its usual factors.
std::span<const DifferenceFormula> differenceFormulas();

/// What "76", "2000:2:1:1" or "cmc:2:1" name; throws UsageError, with what there is, for another text.
DifferenceFormula differenceFormulaNamed(const std::string& text);

/// For help texts: "76, 94, ...".
std::string differenceFormulaNames();

/// As it is given on the command line: "cmc:2:1".
std::string nameOf(const DifferenceFormula& formula);

/// What differences by it are called: "ΔE*ab", "ΔE00(2:1:1)"; for HTML with the index as one.
std::string symbolOf(const DifferenceFormula& formula);
std::string symbolInHtml(const DifferenceFormula& formula);

/// Both colours are L*, a*, b*.
CqColorDifference compare(const DifferenceFormula& formula, const ColorData& standard,
                          const ColorData& trial);
double difference(const DifferenceFormula& formula, const ColorData& standard,
                  const ColorData& trial);

}  // namespace cqtool

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "color/ColorNames.h"
#include "color/Difference.h"
#include "exchange/Exchange.h"

namespace cqtool {

/// A number that a trial's difference from its standard is judged by.
struct Quantity {
    enum class Kind {
        difference,  ///< by a formula: "dE00", "dECMC(2:1)"
        component,   ///< one of ΔL*, Δa*, Δb*, ΔC*, ΔH*: "dL"
        metamerism   ///< between the first illuminant and another one: "MI"
    };
    Kind kind = Kind::difference;
    DifferenceFormula formula;  ///< of a difference; the index of metamerism is by its own
    std::size_t component = 0;  ///< index into kDifferenceComponents
    bool isMagnitude = false;   ///< of a component, without its sign: "|dL|"

    bool operator==(const Quantity&) const = default;
};

/// What "dE00", "dECMC(2:1)", "|dL|" or "MI" mean, in upper or lower case; throws UsageError with
/// what there is.
Quantity quantityOf(const std::string& text);

/// As it is written: "dE00(2:1:1)"; and for people: "ΔE00(2:1:1)", "|ΔL*|".
std::string nameOf(const Quantity& quantity);
std::string symbolOf(const Quantity& quantity);

/// What a quantity has to stay within.
struct Limit {
    Quantity quantity;
    std::optional<double> least;  ///< at least one of the two
    std::optional<double> most;
    std::optional<std::int32_t> illuminant;  ///< nothing: under each one of the job
    bool isWarning = false;                  ///< beyond it a trial passes with a warning

    /// What the 32-bit floats of L*, a*, b* leave uncertain of a difference.
    static constexpr double kResolution = 2e-5;

    bool isMetBy(double value) const;

    bool operator==(const Limit&) const = default;
};

/// What "dE00<=1.0", "|dL|<=0.6", "-0.5<=da<=0.3", "dECMC(2:1)<=1.2@A" or "MI<=0.5" says; throws
/// UsageError with what there is.
Limit limitOf(const std::string& text, bool isWarning);

/// The tolerances, then the warnings.
std::vector<Limit> limitsOf(const std::vector<std::string>& tolerances,
                            const std::vector<std::string>& warnings);

/// The text that limitOf() takes; and for people: "ΔE00 ≤ 1", "−0.5 ≤ Δa* ≤ 0.3 under A".
std::string textOf(const Limit& limit);
std::string symbolsOf(const Limit& limit);

enum class Grade { pass, warn, fail };

/// "pass", "warn" or "fail"; and the sign that stands beside it: ✓ ! ✗.
const char* nameOf(Grade grade);
const char* signOf(Grade grade);

/// One limit under one illuminant.
struct Finding {
    Limit limit;
    std::int32_t illuminant = 0;
    double value = 0;
    bool isMet = true;
    /// The value with two decimals, or with as many as show on which side of the limit it is.
    std::string text;
};

/// As in "ΔE00 1.23 > 1 under A".
std::string findingText(const Finding& finding);

/// Decided on the numbers, never on the texts.
struct Verdict {
    Grade grade = Grade::pass;
    std::vector<Finding> findings;  ///< in the limits' order, for each its illuminants in theirs

    /// What decides: of the findings that are not met the first that fails, else the first that warns;
    /// null if all are.
    const Finding* deciding() const;
    /// With how many decimals to show a value, so that it seems on no other side of a limit than it
    /// is: at least two. \param quantity with its sign: "dL" for "|dL|", too.
    int decimalsOf(const Quantity& quantity, std::int32_t illuminant) const;
};

/// What a difference is looked at under. The first illuminant is the one of reference.
struct JudgedViewing {
    std::vector<std::int32_t> illuminants;  ///< at least one
    std::int32_t observer = 1;

    Viewing primary() const { return {illuminants.front(), observer}; }
};

/// Throws UsageError for a limit that says nothing for this viewing: of metamerism without a second
/// illuminant.
void checkLimits(std::span<const Limit> limits, const JudgedViewing& viewing);

/// L*, a*, b* of an entry for a viewing: from its spectrum, or its own if they are for that viewing;
/// nothing without either.
std::optional<ColorData> labOf(const RecordEntry& entry, const Viewing& viewing,
                               const std::optional<Viewing>& given = std::nullopt);

/// The index of special metamerism of a pair: by ΔE*ab with the multiplicative correction; nothing
/// without two spectra.
std::optional<double> metamerismOf(const RecordEntry& standard, const RecordEntry& trial,
                                   std::int32_t reference, std::int32_t test,
                                   std::int32_t observer);

/// The entries' own L*, a*, b*, of those without a spectrum, are for the primary viewing.
/// Throws Failure for a limit that cannot be judged: for an entry without a spectrum under another
/// illuminant, or for metamerism.
Verdict verdictOf(std::span<const Limit> limits, const JudgedViewing& viewing,
                  const RecordEntry& standard, const RecordEntry& trial);

}  // namespace cqtool

#include "job/Limit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "color/ColorMath.h"
#include "color/DifferenceComponents.h"
#include "Failure.h"
#include "ResultText.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr double kMostLimit = 1000;
constexpr int kUsualDecimals = 2;

// Indexed by CqDifferenceFormula.
constexpr std::array<const char*, 7> kFormulaNames{"dEab", "dE94", "dE94t", "dECMC",
                                                   "dE00", "dE99", "dE99o"};

[[noreturn]] void refuseLimit(const std::string& text, const std::string& why) {
    throw UsageError("'" + text + "' is no tolerance: " + why +
                     "; write it as in dE00<=1, dECMC(2:1)<=1.2@A, |dL|<=0.6, -0.5<=da<=0.3 or "
                     "MI<=0.5");
}

std::string withoutSpaces(std::string_view text) {
    std::string result(text);
    std::erase_if(result, [](char c) { return c == ' ' || c == '\t'; });
    return result;
}

/// The formula in "de00(2:1:1)", in lower case; nothing if it is none.
std::optional<DifferenceFormula> formulaIn(const std::string& text) {
    const std::size_t bracket = std::min(text.find('('), text.size());
    std::string name = text.substr(0, bracket);
    name = name == "de76" || name == "de*ab" ? "deab" : name == "de2000" ? "de00" : name;
    const auto found = std::find_if(kFormulaNames.begin(), kFormulaNames.end(),
                                    [&](const char* known) { return lowerCase(known) == name; });
    if (found == kFormulaNames.end()) {
        return std::nullopt;
    }
    const DifferenceFormula usual{static_cast<std::uint32_t>(found - kFormulaNames.begin()), {}};
    if (bracket == text.size()) {
        return usual;
    }
    if (!text.ends_with(')')) {
        return std::nullopt;
    }
    return differenceFormulaNamed(nameOf(usual) + ':' +
                                  text.substr(bracket + 1, text.size() - bracket - 2));
}

std::optional<Quantity> componentIn(std::string text) {
    const bool isMagnitude = text.size() > 2 && text.front() == '|' && text.back() == '|';
    if (isMagnitude) {
        text = text.substr(1, text.size() - 2);
    }
    if (text.ends_with('*')) {
        text.pop_back();
    }
    for (std::size_t i = 0; i < kDifferenceComponents.size(); ++i) {
        if (text == lowerCase(kDifferenceComponents[i].name)) {
            return Quantity{Quantity::Kind::component, {}, i, isMagnitude};
        }
    }
    return std::nullopt;
}

/// The sides of a chain of <=, or of >=, from the least to the most.
std::vector<std::string> sidesOf(const std::string& chain, const std::string& text) {
    const bool isFalling = chain.find(">=") != std::string::npos;
    const std::string_view sign = isFalling ? ">=" : "<=";
    std::vector<std::string> sides;
    std::size_t from = 0;
    for (std::size_t at; (at = chain.find(sign, from)) != std::string::npos;
         from = at + sign.size()) {
        sides.push_back(chain.substr(from, at - from));
    }
    sides.push_back(chain.substr(from));
    if (sides.size() < 2 || sides.size() > 3) {
        refuseLimit(text, "it needs one or two times <=");
    }
    if (isFalling) {
        std::reverse(sides.begin(), sides.end());
    }
    return sides;
}

double boundOf(const std::string& digits, const std::string& text) {
    const auto bound = parseNumber(digits);
    if (!bound || std::abs(*bound) > kMostLimit) {
        refuseLimit(text, "'" + digits + "' is no number up to 1000");
    }
    return *bound;
}

void checkBounds(const Limit& limit, const std::string& text) {
    const bool isSigned =
        limit.quantity.kind == Quantity::Kind::component && !limit.quantity.isMagnitude;
    if (limit.least && limit.most && *limit.least > *limit.most) {
        refuseLimit(text, "nothing is as large as its first number and as small as its second");
    }
    if (!isSigned && limit.most && *limit.most < 0) {
        refuseLimit(text, nameOf(limit.quantity) + " is never below 0");
    }
}

[[noreturn]] void failWithoutSpectrum(const Limit& limit, std::int32_t illuminant,
                                      const RecordEntry& entry) {
    throw Failure(textOf(limit) + " cannot be judged under " + illuminantName(illuminant) + ": '" +
                      entry.name + "' has no spectrum",
                  std::string("measure it, or limit the tolerance to one illuminant, as in ") +
                      nameOf(limit.quantity) + "<=1@D65");
}

/// Compares a standard with a trial.
class Pair {
  public:
    Pair(const JudgedViewing& viewing, const RecordEntry& standard, const RecordEntry& trial)
        : viewing_(viewing), standard_(standard), trial_(trial) {}

    double value(const Limit& limit, std::int32_t illuminant) const {
        const Quantity& quantity = limit.quantity;
        if (quantity.kind == Quantity::Kind::metamerism) {
            return metamerism(limit, illuminant);
        }
        const ColorData standard = lab(standard_, limit, illuminant);
        const ColorData trial = lab(trial_, limit, illuminant);
        if (quantity.kind == Quantity::Kind::difference) {
            return difference(quantity.formula, standard, trial);
        }
        const double component =
            shortest(compare({}, standard, trial).*kDifferenceComponents[quantity.component].value);
        return quantity.isMagnitude ? std::abs(component) : component;
    }

  private:
    double metamerism(const Limit& limit, std::int32_t illuminant) const {
        const auto index = metamerismOf(standard_, trial_, viewing_.illuminants.front(), illuminant,
                                        viewing_.observer);
        if (!index) {
            failWithoutSpectrum(limit, illuminant, standard_.spectrum ? trial_ : standard_);
        }
        return *index;
    }

    ColorData lab(const RecordEntry& entry, const Limit& limit, std::int32_t illuminant) const {
        const auto color = labOf(entry, Viewing{illuminant, viewing_.observer}, viewing_.primary());
        if (!color) {
            failWithoutSpectrum(limit, illuminant, entry);
        }
        return *color;
    }

    const JudgedViewing& viewing_;
    const RecordEntry& standard_;
    const RecordEntry& trial_;
};

/// Under which a limit is judged.
std::vector<std::int32_t> illuminantsOf(const Limit& limit, const JudgedViewing& viewing) {
    if (limit.illuminant) {
        return {*limit.illuminant};
    }
    const bool isOfChange = limit.quantity.kind == Quantity::Kind::metamerism;
    return {viewing.illuminants.begin() + (isOfChange ? 1 : 0), viewing.illuminants.end()};
}

bool isOnSameSides(const Limit& limit, double one, double other) {
    const auto isWithin = [](const Limit& half, double value) { return half.isMetBy(value); };
    Limit least = limit;
    least.most.reset();
    Limit most = limit;
    most.least.reset();
    return isWithin(least, one) == isWithin(least, other) &&
           isWithin(most, one) == isWithin(most, other);
}

std::string textBesideLimit(const Limit& limit, double value) {
    constexpr int kMostDecimals = 7;
    const bool isSigned =
        limit.quantity.kind == Quantity::Kind::component && !limit.quantity.isMagnitude;
    int decimals = kUsualDecimals;
    while (decimals < kMostDecimals &&
           !isOnSameSides(limit, value, parseNumber(fixed(value, decimals)).value_or(value))) {
        ++decimals;
    }
    return isSigned ? withSign(value, decimals) : fixed(value, decimals);
}

}  // namespace

Quantity quantityOf(const std::string& text) {
    const std::string name = lowerCase(withoutSpaces(text));
    if (name == "mi") {
        return {Quantity::Kind::metamerism, {}, 0, false};
    }
    if (const auto component = componentIn(name)) {
        return *component;
    }
    if (const auto formula = formulaIn(name)) {
        return {Quantity::Kind::difference, *formula, 0, false};
    }
    throw UsageError("'" + text + "' cannot be judged; there are: " +
                     joined({kFormulaNames.begin(), kFormulaNames.end()}, ", ") +
                     ", with factors as in dECMC(2:1) or dE00(2:1:1); dL, da, db, dC, dH, or |dL| "
                     "without the sign; MI, the metamerism index");
}

std::string nameOf(const Quantity& quantity) {
    switch (quantity.kind) {
        case Quantity::Kind::metamerism:
            return "MI";
        case Quantity::Kind::component: {
            const std::string name = kDifferenceComponents[quantity.component].name;
            return quantity.isMagnitude ? '|' + name + '|' : name;
        }
        case Quantity::Kind::difference:
            break;
    }
    const std::string formula = nameOf(quantity.formula);
    const std::size_t colon = formula.find(':');
    return kFormulaNames[quantity.formula.number] +
           (colon == std::string::npos ? std::string() : '(' + formula.substr(colon + 1) + ')');
}

std::string symbolOf(const Quantity& quantity) {
    switch (quantity.kind) {
        case Quantity::Kind::metamerism:
            return "MI";
        case Quantity::Kind::component: {
            const std::string symbol = kDifferenceComponents[quantity.component].symbol;
            return quantity.isMagnitude ? '|' + symbol + '|' : symbol;
        }
        case Quantity::Kind::difference:
            break;
    }
    return symbolOf(quantity.formula);
}

bool Limit::isMetBy(double value) const {
    return (!least || value >= *least - kResolution) && (!most || value <= *most + kResolution);
}

Limit limitOf(const std::string& text, bool isWarning) {
    const std::string compact = withoutSpaces(text);
    const std::size_t at = std::min(compact.find('@'), compact.size());
    Limit limit;
    limit.isWarning = isWarning;
    if (at < compact.size()) {
        limit.illuminant = illuminantNamed(compact.substr(at + 1));
    }
    auto sides = sidesOf(compact.substr(0, at), text);
    const bool isQuantityFirst = sides.size() == 2 && !parseNumber(sides.front());
    const std::size_t place = isQuantityFirst ? 0 : 1;
    limit.quantity = quantityOf(sides[place]);
    if (place > 0) {
        limit.least = boundOf(sides.front(), text);
    }
    if (place + 1 < sides.size()) {
        limit.most = boundOf(sides.back(), text);
    }
    checkBounds(limit, text);
    return limit;
}

std::vector<Limit> limitsOf(const std::vector<std::string>& tolerances,
                            const std::vector<std::string>& warnings) {
    std::vector<Limit> limits;
    limits.reserve(tolerances.size() + warnings.size());
    for (const std::string& text : tolerances) {
        limits.push_back(limitOf(text, false));
    }
    for (const std::string& text : warnings) {
        limits.push_back(limitOf(text, true));
    }
    return limits;
}

std::string textOf(const Limit& limit) {
    return (limit.least && limit.most ? digitsOf(*limit.least) + "<=" : std::string()) +
           nameOf(limit.quantity) +
           (limit.most ? "<=" + digitsOf(*limit.most) : ">=" + digitsOf(*limit.least)) +
           (limit.illuminant ? std::string("@") + illuminantName(*limit.illuminant) : "");
}

std::string symbolsOf(const Limit& limit) {
    return (limit.least && limit.most ? digitsOf(*limit.least) + " ≤ " : std::string()) +
           symbolOf(limit.quantity) +
           (limit.most ? " ≤ " + digitsOf(*limit.most) : " ≥ " + digitsOf(*limit.least)) +
           (limit.illuminant ? std::string(" under ") + illuminantName(*limit.illuminant) : "");
}

const char* nameOf(Grade grade) {
    return grade == Grade::pass ? "pass" : grade == Grade::warn ? "warn" : "fail";
}

const char* signOf(Grade grade) {
    return grade == Grade::pass ? "✓" : grade == Grade::warn ? "!" : "✗";
}

std::string findingText(const Finding& finding) {
    const Limit& limit = finding.limit;
    std::string text = symbolOf(limit.quantity) + ' ' + finding.text;
    if (!finding.isMet) {
        const bool isAbove = limit.most && finding.value > *limit.most;
        text += isAbove ? " > " + digitsOf(*limit.most) : " < " + digitsOf(limit.least.value_or(0));
    }
    return text + " under " + illuminantName(finding.illuminant);
}

int Verdict::decimalsOf(const Quantity& quantity, std::int32_t illuminant) const {
    int decimals = kUsualDecimals;
    for (const Finding& finding : findings) {
        Quantity judged = finding.limit.quantity;
        judged.isMagnitude = false;
        const std::size_t point = finding.text.find('.');
        if (judged == quantity && finding.illuminant == illuminant && point != std::string::npos) {
            decimals = std::max(decimals, static_cast<int>(finding.text.size() - point - 1));
        }
    }
    return decimals;
}

const Finding* Verdict::deciding() const {
    const Finding* warning = nullptr;
    for (const Finding& finding : findings) {
        if (!finding.isMet && !finding.limit.isWarning) {
            return &finding;
        }
        if (!finding.isMet && warning == nullptr) {
            warning = &finding;
        }
    }
    return warning;
}

void checkLimits(std::span<const Limit> limits, const JudgedViewing& viewing) {
    const std::string reference = illuminantName(viewing.illuminants.front());
    const auto lacking = std::find_if(limits.begin(), limits.end(), [&](const Limit& limit) {
        return limit.quantity.kind == Quantity::Kind::metamerism &&
               (limit.illuminant == viewing.illuminants.front() ||
                (!limit.illuminant && viewing.illuminants.size() < 2));
    });
    if (lacking != limits.end()) {
        throw UsageError(textOf(*lacking) + " needs a second illuminant besides " + reference +
                         ", as in MI<=0.5@A or --illuminants " + reference + ",A");
    }
}

std::optional<ColorData> labOf(const RecordEntry& entry, const Viewing& viewing,
                               const std::optional<Viewing>& given) {
    if (entry.spectrum) {
        return colorOfSpectrum(*entry.spectrum, ColorSpaceLab, viewing);
    }
    const bool isForIt =
        !given || (given->illuminant == viewing.illuminant && given->observer == viewing.observer);
    return isForIt ? entry.lab : std::nullopt;
}

std::optional<double> metamerismOf(const RecordEntry& standard, const RecordEntry& trial,
                                   std::int32_t reference, std::int32_t test,
                                   std::int32_t observer) {
    if (!standard.spectrum || !trial.spectrum) {
        return std::nullopt;
    }
    float index = 0;
    check(cqGetMetamerismIndex(CqDeltaE76, CqMetamerismMultiplicative, reference, test, observer,
                               standard.spectrum->data(), trial.spectrum->data(), &index),
          Operation::computeColor);
    return shortest(index);
}

Verdict verdictOf(std::span<const Limit> limits, const JudgedViewing& viewing,
                  const RecordEntry& standard, const RecordEntry& trial) {
    const Pair pair(viewing, standard, trial);
    Verdict verdict;
    for (const Limit& limit : limits) {
        for (const std::int32_t illuminant : illuminantsOf(limit, viewing)) {
            const double value = pair.value(limit, illuminant);
            verdict.findings.push_back(
                {limit, illuminant, value, limit.isMetBy(value), textBesideLimit(limit, value)});
        }
    }
    if (const Finding* deciding = verdict.deciding()) {
        verdict.grade = deciding->limit.isWarning ? Grade::warn : Grade::fail;
    }
    return verdict;
}

}  // namespace cqtool

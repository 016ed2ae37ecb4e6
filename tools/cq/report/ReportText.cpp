#include "report/ReportText.h"

#include <cmath>

#include "color/ColorNames.h"
#include "report/Comparison.h"
#include "report/Html.h"
#include "text/Numbers.h"

namespace cqtool {

std::string symbolInHtml(const Quantity& quantity) {
    return quantity.kind == Quantity::Kind::difference ? symbolInHtml(quantity.formula)
                                                       : symbolOf(quantity);
}

std::string limitInHtml(const Limit& limit) {
    std::string text;
    if (limit.least && limit.most) {
        text = digitsOf(*limit.least) + " ≤ ";
    }
    text += symbolInHtml(limit.quantity);
    text += limit.most ? " ≤ " + digitsOf(*limit.most) : " ≥ " + digitsOf(*limit.least);
    return text + (limit.illuminant ? std::string(" (") + illuminantName(*limit.illuminant) + ")"
                                    : std::string());
}

std::string findingInHtml(const Finding& finding) {
    const Limit& limit = finding.limit;
    const bool isAbove = limit.most && finding.value > *limit.most;
    return symbolInHtml(limit.quantity) + " " + finding.text +
           (isAbove ? " &gt; " + digitsOf(*limit.most)
                    : " &lt; " + digitsOf(limit.least.value_or(0))) +
           " (" + illuminantName(finding.illuminant) + ")";
}

std::string valueText(const Quantity& quantity, double value, int decimals) {
    return isSigned(quantity) ? withSign(value, decimals) : fixed(value, decimals);
}

std::string timeForPeople(const std::string& time) {
    const bool isIso = time.size() == 20 && time[10] == 'T' && time.back() == 'Z';
    return isIso ? time.substr(0, 10) + " " + time.substr(11, 8) : time;
}

std::string ageText(double seconds) {
    constexpr long kMinute = 60;
    constexpr long kHour = 60 * kMinute;
    const long whole = std::lround(seconds);
    if (whole < 2 * kMinute) {
        return std::to_string(whole) + " s";
    }
    if (whole < kHour) {
        return std::to_string(whole / kMinute) + " min";
    }
    return std::to_string(whole / kHour) + " h " + std::to_string(whole % kHour / kMinute) + " min";
}

}  // namespace cqtool

#include "exchange/SetViewing.h"

#include <algorithm>
#include <cctype>

#include "Failure.h"
#include "text/Text.h"

namespace cqtool {

NamedViewing namedViewing(const std::string& text) {
    std::string words = text;
    std::replace_if(
        words.begin(), words.end(),
        [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0 && c != '.'; }, ' ');
    NamedViewing named;
    for (const std::string& word : splitArguments(lowerCase(words))) {
        if (word == "2" || word == "10" || word == "2deg" || word == "10deg") {
            named.observer = observerNamed(word.substr(0, word.find('d')));
            continue;
        }
        try {
            named.illuminant = named.illuminant ? named.illuminant : illuminantNamed(word);
        } catch (const UsageError&) {
            // Another remark, as on the geometry.
        }
    }
    return named;
}

void SetViewing::addSpectrum(const std::optional<Viewing>& viewing) {
    viewing_ = viewing_ ? viewing_ : viewing;
}

Viewing SetViewing::addColor(const std::optional<Viewing>& viewing, const std::string& where) {
    const Viewing own = viewing.value_or(Viewing{});
    if (isFixed_ && viewingName(own) != viewingName(*viewing_)) {
        throw Failure(where + ": its colour is for " + viewingName(own) + " where others are for " +
                          viewingName(*viewing_),
                      "give one file for each illuminant and observer");
    }
    isFixed_ = true;
    viewing_ = own;
    return own;
}

}  // namespace cqtool

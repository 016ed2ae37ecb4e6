#include "exchange/SetViewing.h"

#include "Failure.h"

namespace cqtool {

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

#include "commands/Against.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "color/ColorInput.h"
#include "commands/GivenMeasurement.h"
#include "commands/Options.h"
#include "Failure.h"
#include "instrument/Storage.h"
#include "text/Numbers.h"

namespace cqtool {
namespace {

bool isStoredIndex(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

/// Three numbers with commas between them; nothing for another text.
std::optional<ColorData> labIn(const std::string& text) {
    static constexpr const char* kCharacters = "0123456789.,+-eE ";
    if (std::count(text.begin(), text.end(), ',') != 2 ||
        text.find_first_not_of(kCharacters) != std::string::npos) {
        return std::nullopt;
    }
    const auto colors = colorsOfArguments({text}, InputKind::lab);
    ColorData lab{};
    std::transform(colors.front().values.begin(), colors.front().values.end(), lab.values,
                   [](double value) { return static_cast<float>(value); });
    checkLab(lab, text);
    return lab;
}

std::string nameOf(const ColorData& lab) {
    return "L* " + digitsOf(shortest(lab.values[0])) + ", a* " + digitsOf(shortest(lab.values[1])) +
           ", b* " + digitsOf(shortest(lab.values[2]));
}

/// What decides where a spectrum should be.
void requireColor(const RecordEntry& entry, const std::string& name, const RecordLayout& layout) {
    if (!entry.spectrum && !entry.lab) {
        throw Failure(name + ": " +
                          (entry.record ? readSpectrum(*entry.record, layout).problem
                                        : "it has no colour to compare with"),
                      "give a record of the same instrument, or its --record-layout");
    }
}

}  // namespace

Against::Against(const std::string& text, const Viewing& viewing, const RecordLayout& layout,
                 std::ostream& notes)
    : viewing_(viewing), layout_(layout) {
    if (text.empty()) {
        return;
    }
    if (isStoredIndex(text)) {
        index_ = wholeNumberOf(text, "--against", 0, CQ_ALL_RECORDS - 1);
        name_ = "stored standard " + text;
        return;
    }
    if (const auto lab = labIn(text)) {
        name_ = nameOf(*lab);
        standard_ = RecordEntry{};
        standard_->lab = lab;
    } else {
        name_ = text;
        std::error_code error;
        const bool isWhole = std::filesystem::exists(text, error);
        file_ = isWhole ? text : text.substr(0, text.rfind(':'));
        standard_ =
            measurementIn(text, viewing, {.isPercent = false, .layout = layout, .notes = &notes});
    }
    standard_->name = standard_->name.empty() ? name_ : standard_->name;
    requireColor(*standard_, name_, layout_);
}

void Against::read(Connection& connection) {
    if (index_ && !standard_) {
        standard_ =
            entryOf(Storage(connection).readStandard(*index_), *index_, true, layout_, viewing_);
        requireColor(*standard_, name_, layout_);
    }
}

void addAgainstOption(CommandLine& line, std::string& against) {
    line.addOption({"--against", "STANDARD",
                    "Compare trials with this: a measurement in a file, FILE, FILE:NAME or FILE:N; "
                    "L,a,b as numbers; or the index of a stored standard"},
                   against);
}

}  // namespace cqtool

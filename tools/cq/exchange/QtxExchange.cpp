#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <set>

#include "color/ColorInput.h"
#include "color/ColorMath.h"
#include "exchange/Formats.h"
#include "exchange/QtxFile.h"
#include "exchange/SetViewing.h"
#include "exchange/SpectralGrid.h"
#include "Failure.h"
#include "text/Encoding.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr const char* kStandardPrefix = "STD_";
constexpr const char* kBatchPrefix = "BAT_";
constexpr std::array<const char*, 3> kXyzKeys{"X", "Y", "Z"};
// The two grids of sections that do not name theirs.
constexpr std::size_t kVisiblePoints = 31;  // from 400 nm
constexpr std::size_t kWidePoints = 35;     // from 360 nm

// --- Writing

std::string qtxLine(const char* prefix, const char* key, const std::string& value) {
    return std::string(prefix) + key + '=' + value + "\r\n";
}

/// In percent, with digits enough to give the same 32-bit float.
std::string percentText(float value) {
    std::array<char, 32> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(),
                                   shortest(value) * 100, std::chars_format::general, 9)
                         .ptr;
    return {digits.data(), end};
}

std::string reflectanceLines(const Spectrum& spectrum, const char* prefix) {
    std::string values;
    for (const float value : spectrum) {
        values += (values.empty() ? "" : ",") + percentText(value);
    }
    return qtxLine(prefix, "REFLPOINTS", std::to_string(kWavelengthCount)) +
           qtxLine(prefix, "REFLINTERVAL", std::to_string(kWavelengthStep)) +
           qtxLine(prefix, "REFLLOW", std::to_string(kFirstWavelength)) +
           qtxLine(prefix, "R", values);
}

std::string tristimulusLines(const ColorData& lab, const Viewing& viewing, const char* prefix) {
    const ColorData xyz = colorOfLab(lab, ColorSpaceXyz, viewing);
    std::string lines;
    for (std::size_t i = 0; i < kXyzKeys.size(); ++i) {
        lines += qtxLine(prefix, kXyzKeys[i], digitsOf(shortest(xyz.values[i])));
    }
    return lines;
}

/// \param standard the name of the one that a trial belongs to; empty for none.
std::string sectionText(const RecordEntry& entry, std::size_t number, const std::string& standard,
                        const Viewing& viewing) {
    if (!entry.spectrum && !entry.lab) {
        throw Failure(
            "QTX cannot hold '" + entry.name + "': it has neither a spectrum nor L*, a*, b*",
            "export as csv, json or raw, which hold its record");
    }
    const char* prefix = entry.isStandard ? kStandardPrefix : kBatchPrefix;
    std::string text =
        (entry.isStandard ? "[STANDARD_DATA " : "[BATCH_DATA ") + std::to_string(number) + "]\r\n";
    if (!standard.empty()) {
        text += qtxLine(kStandardPrefix, "NAME", qtxText(standard));
    }
    text += qtxLine(prefix, "NAME", qtxText(entry.name));
    if (const auto time = secondsOf(entry.time)) {
        text += qtxLine(prefix, "DATETIME", std::to_string(*time));
    }
    text += entry.spectrum ? reflectanceLines(*entry.spectrum, prefix) : std::string();
    text += qtxLine(prefix, "VIEWING",
                    std::string(illuminantName(viewing.illuminant)) + '/' +
                        std::to_string(observerDegrees(viewing.observer)));
    return text + (entry.lab ? tristimulusLines(*entry.lab, viewing, prefix) : std::string());
}

/// Heads end in the entries' indices, unless two would be the same.
bool areNumbersUnique(const RecordSet& set) {
    std::set<std::pair<bool, std::uint32_t>> numbers;
    return std::all_of(set.entries.begin(), set.entries.end(), [&](const RecordEntry& entry) {
        return numbers.emplace(entry.isStandard, entry.index).second;
    });
}

// --- Reading

/// The values of a section under one prefix.
class QtxValues {
  public:
    QtxValues(const QtxSection& section, std::string prefix, const std::string& source)
        : section_(section),
          prefix_(std::move(prefix)),
          where_(source + " line " + std::to_string(section.line)) {}

    const std::string& where() const { return where_; }
    std::string text(const char* key) const { return section_.value(prefix_ + key); }

    bool isMeasurement() const { return !text("R").empty() || !text("X").empty(); }

    std::string time() const {
        const auto seconds = number("DATETIME");
        // What no calendar of four digits shows is none.
        static constexpr double kYear10000 = 253'402'300'800;
        return seconds && *seconds >= 0 && *seconds < kYear10000
                   ? timeText(static_cast<std::int64_t>(*seconds))
                   : std::string();
    }

    /// Illuminant and observer, if the text names both: "D65/10", "A 2 deg".
    std::optional<Viewing> viewing() const {
        const NamedViewing named = namedViewing(text("VIEWING"));
        return named.illuminant && named.observer
                   ? std::optional(Viewing{*named.illuminant, *named.observer})
                   : std::nullopt;
    }

    std::optional<Spectrum> spectrum() const {
        const std::string list = text("R");
        if (list.empty()) {
            return std::nullopt;
        }
        std::vector<double> values;
        for (std::string_view rest = list;;) {
            const std::size_t end = std::min(rest.find(','), rest.size());
            values.push_back(parsed("R", rest.substr(0, end)));
            if (end == rest.size()) {
                break;
            }
            rest.remove_prefix(end + 1);
        }
        const auto points = number("REFLPOINTS");
        if (points && *points != static_cast<double>(values.size())) {
            throw Failure(where_ + ": " + prefix_ + "R has " + counted(values.size(), "values") +
                          ", but " + prefix_ + "REFLPOINTS is " + digitsOf(*points));
        }
        return spectrumOnGrid(values, grid(values.size()), 0.01, where_ + ": " + prefix_ + "R");
    }

    std::optional<ColorData> xyz() const {
        ColorData xyz;
        for (std::size_t i = 0; i < kXyzKeys.size(); ++i) {
            const auto value = number(kXyzKeys[i]);
            if (!value) {
                return std::nullopt;
            }
            xyz.values[i] = static_cast<float>(*value);
        }
        return xyz;
    }

  private:
    double parsed(const char* key, std::string_view text) const {
        const auto value = parseNumber(text);
        if (!value || std::abs(*value) > static_cast<double>(std::numeric_limits<float>::max())) {
            throw Failure(where_ + ": " + prefix_ + key + " must be a number, not '" +
                          shown(trimmed(text)) + "'");
        }
        return *value;
    }

    /// Nothing for a key that is missing or has no value.
    std::optional<double> number(const char* key) const {
        const std::string value = text(key);
        return value.empty() ? std::nullopt : std::optional(parsed(key, value));
    }

    SpectralGrid grid(std::size_t count) const {
        const auto low = number("REFLLOW");
        const auto interval = number("REFLINTERVAL");
        if ((!low || !interval) && count != kVisiblePoints && count != kWidePoints) {
            throw Failure(where_ + ": nothing gives the wavelengths of the " +
                              counted(count, "values") + " of " + prefix_ + "R",
                          "the section must have " + prefix_ + "REFLLOW and " + prefix_ +
                              "REFLINTERVAL, in nm");
        }
        return {low.value_or(count == kWidePoints ? 360 : kFirstWavelength),
                interval.value_or(kWavelengthStep)};
    }

    const QtxSection& section_;
    std::string prefix_;
    std::string where_;
};

/// Takes the sections into a set, in which trials follow their standards.
class QtxSet {
  public:
    explicit QtxSet(const std::string& source) : source_(source) {}

    void add(const QtxSection& section) {
        const QtxValues standard(section, kStandardPrefix, source_);
        const QtxValues batch(section, kBatchPrefix, source_);
        if (!section.isStandard) {
            addTrial(section, batch, standard.text("NAME"));
            return;
        }
        // Standards that were measured as batches keep the keys of these.
        const bool isFormerBatch = !standard.isMeasurement() && batch.isMeasurement();
        RecordEntry entry =
            entryOf(section, isFormerBatch ? batch : standard, true, groups_.size());
        if (const std::string name = standard.text("NAME"); !name.empty()) {
            entry.name = name;
        }
        groups_.push_back({std::move(entry), {}});
        if (!isFormerBatch && batch.isMeasurement()) {
            addTrial(section, batch, {});
        }
    }

    RecordSet set() {
        RecordSet set;
        set.viewing = viewing_.viewing();
        for (Trial& trial : trials_) {
            Group* group = groupOf(trial);
            (group == nullptr ? set.entries : group->trials).push_back(std::move(trial.entry));
        }
        for (Group& group : groups_) {
            set.entries.push_back(std::move(group.standard));
            std::move(group.trials.begin(), group.trials.end(), std::back_inserter(set.entries));
        }
        for (RecordEntry& entry : set.entries) {
            if (entry.spectrum) {
                entry.lab = colorOfSpectrum(*entry.spectrum, ColorSpaceLab, set.viewing);
            }
        }
        return set;
    }

  private:
    struct Group {
        RecordEntry standard;
        std::vector<RecordEntry> trials;
    };
    struct Trial {
        RecordEntry entry;
        std::string standard;  ///< its name; empty: the one before
        std::size_t groupsBefore = 0;
    };

    void addTrial(const QtxSection& section, const QtxValues& values, const std::string& standard) {
        trials_.push_back(
            {entryOf(section, values, false, trials_.size()), standard, groups_.size()});
    }

    /// \param count of entries of its kind before.
    RecordEntry entryOf(const QtxSection& section, const QtxValues& values, bool isStandard,
                        std::size_t count) {
        RecordEntry entry;
        entry.index = section.number.value_or(static_cast<std::uint32_t>(count));
        entry.isStandard = isStandard;
        entry.name = values.text("NAME");
        if (entry.name.empty()) {
            entry.name = defaultName(entry.index, isStandard);
        }
        entry.time = values.time();
        entry.spectrum = values.spectrum();
        const auto viewing = values.viewing();
        const auto xyz = values.xyz();
        if (!entry.spectrum && !xyz) {
            throw Failure(values.where() + ": '" + entry.name +
                              "' has neither reflectances (R) nor X, Y and Z",
                          "export it again, with its spectrum");
        }
        if (entry.spectrum) {
            viewing_.addSpectrum(viewing);
        } else {
            entry.lab = colorOfXyz(*xyz, ColorSpaceLab, viewing_.addColor(viewing, values.where()));
            checkLab(*entry.lab, values.where());
        }
        return entry;
    }

    /// The last standard of this name before the trial, else the first after it.
    Group* groupOf(const Trial& trial) {
        const auto before = groups_.begin() + static_cast<std::ptrdiff_t>(trial.groupsBefore);
        if (trial.standard.empty()) {
            return before == groups_.begin() ? nullptr : &*(before - 1);
        }
        const auto isNamed = [&](const Group& g) { return g.standard.name == trial.standard; };
        const auto last = std::find_if(std::make_reverse_iterator(before), groups_.rend(), isNamed);
        if (last != groups_.rend()) {
            return &*last;
        }
        const auto next = std::find_if(before, groups_.end(), isNamed);
        return next == groups_.end() ? nullptr : &*next;
    }

    const std::string& source_;
    std::vector<Group> groups_;
    std::vector<Trial> trials_;
    SetViewing viewing_;
};

}  // namespace

std::string qtxOf(const RecordSet& set) {
    const bool isNumbered = areNumbersUnique(set);
    std::string text;
    std::string standard;
    std::size_t counts[2] = {0, 0};
    for (const RecordEntry& entry : set.entries) {
        const std::size_t count = counts[entry.isStandard ? 0 : 1]++;
        text += (text.empty() ? "" : "\r\n") +
                sectionText(entry, isNumbered ? entry.index : count,
                            entry.isStandard ? std::string() : standard, set.viewing);
        standard = entry.isStandard ? entry.name : standard;
    }
    return latin1Of(text);
}

RecordSet recordsOfQtx(std::string_view content, const std::string& source) {
    QtxSet set(source);
    for (const QtxSection& section : readQtx(content, source)) {
        set.add(section);
    }
    return set.set();
}

}  // namespace cqtool

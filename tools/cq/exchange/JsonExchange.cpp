#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "color/ColorInput.h"
#include "color/ColorJson.h"
#include "color/ColorMath.h"
#include "exchange/Formats.h"
#include "Failure.h"
#include "text/JsonMembers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

JsonObject entryJson(const RecordEntry& entry, const Viewing& viewing) {
    JsonObject json{{"index", entry.index}, {"kind", entry.kind()}, {"name", entry.name}};
    if (!entry.time.empty()) {
        json["time"] = entry.time;
    }
    if (entry.lab) {
        json["lab"] = colorJson(*entry.lab, colorSpace(ColorSpaceLab));
        json["hex"] = hexColor(rgbOfLab(*entry.lab, viewing));
    }
    if (entry.spectrum) {
        json["spectrum"] = spectrumJson(*entry.spectrum);
    }
    if (entry.record) {
        json["record"] = hexText(entry.record->bytes, sizeof entry.record->bytes);
    }
    return json;
}

std::uint32_t indexOf(const JsonMembers& object, std::uint32_t otherwise) {
    const std::uint64_t index = object.count("index").value_or(otherwise);
    if (index > std::numeric_limits<std::uint32_t>::max()) {
        object.refuse("index", "must be a whole number of 32 bits");
    }
    return static_cast<std::uint32_t>(index);
}

float numberOf(const JsonMembers& object, const char* name) {
    const std::optional<double> number = object.number(name);
    if (!number || !(std::abs(*number) <= std::numeric_limits<float>::max())) {
        object.refuse(name, "must be a number that a 32-bit float can hold");
    }
    return static_cast<float>(*number);
}

ColorData labOf(const Json& json, const std::string& where) {
    const JsonMembers lab(json, where);
    return {{numberOf(lab, "L"), numberOf(lab, "a"), numberOf(lab, "b")}};
}

Spectrum spectrumOf(const Json& json, const std::string& where, const ReadOptions& options) {
    const JsonMembers object(json, where);
    const Json* values = object.find("values");
    const bool isOnGrid =
        (object.find("start") == nullptr || *object.find("start") == kFirstWavelength) &&
        (object.find("step") == nullptr || *object.find("step") == kWavelengthStep);
    if (values == nullptr || !values->is_array() || values->size() != kWavelengthCount ||
        !isOnGrid) {
        throw Failure(where + " must have 31 values from 400 nm in steps of 10 nm");
    }
    Spectrum spectrum;
    for (std::size_t i = 0; i < spectrum.size(); ++i) {
        const Json& value = (*values)[i];
        const std::string place = where + ": values[" + std::to_string(i) + "]";
        if (!value.is_number()) {
            throw Failure(place + " must be a number, not " + value.dump());
        }
        const double reflectance = value.get<double>() / (options.isPercent ? 100 : 1);
        checkReflectance(reflectance, place + " with " + value.dump());
        spectrum[i] = static_cast<float>(reflectance);
    }
    return spectrum;
}

Viewing viewingOfJson(const JsonMembers& root) {
    if (root.find("illuminant") == nullptr && root.find("observer") == nullptr) {
        return {};
    }
    const Json* observer = root.find("observer");
    return viewingOf(
        root.text("illuminant"),
        observer == nullptr || observer->is_string() ? root.text("observer") : observer->dump(),
        root.where());
}

Json parsed(std::string_view content, const std::string& source) {
    try {
        return Json::parse(content);
    } catch (const Json::parse_error& error) {
        const auto end =
            content.begin() + static_cast<std::ptrdiff_t>(std::min(error.byte, content.size()));
        throw Failure(source + " line " +
                          std::to_string(1 + std::count(content.begin(), end, '\n')) +
                          ": this is not JSON, or it is truncated",
                      "give a file that cq has exported, or name its format with --format");
    } catch (const Json::exception&) {
        throw Failure(source + " holds a number that is too large");
    }
}

}  // namespace

JsonObject jsonOf(const RecordSet& set) {
    JsonList entries;
    for (const RecordEntry& entry : set.entries) {
        entries.push_back(entryJson(entry, set.viewing));
    }
    return {{"title", set.title},
            {"instrument", set.instrument},
            {"serial", set.serial},
            {"time", set.time},
            {"illuminant", illuminantName(set.viewing.illuminant)},
            {"observer", observerDegrees(set.viewing.observer)},
            {"entries", std::move(entries)}};
}

RecordEntry entryOfJson(const Json& object, const std::string& where, std::uint32_t index,
                        const ReadOptions& options) {
    const JsonMembers member(object, where);
    RecordEntry entry;
    entry.index = indexOf(member, index);
    const std::string kind = member.text("kind");
    entry.isStandard = kind.empty() || isStandardOf(kind, member.where());
    entry.name = member.text("name");
    if (entry.name.empty()) {
        entry.name = defaultName(entry.index, entry.isStandard);
    }
    entry.time = member.text("time");
    if (const Json* spectrum = member.find("spectrum")) {
        entry.spectrum = spectrumOf(*spectrum, member.placeOf("spectrum"), options);
    }
    if (const Json* lab = member.find("lab")) {
        entry.lab = labOf(*lab, member.placeOf("lab"));
        if (!entry.spectrum) {
            checkLab(*entry.lab, member.where());
        }
    }
    if (const std::string record = member.text("record"); !record.empty()) {
        entry.record = recordOfHex(record, member.where());
    }
    if (!entry.lab && !entry.spectrum && !entry.record) {
        throw Failure(member.where() + " has neither \"spectrum\" nor \"lab\" nor \"record\"");
    }
    return entry;
}

RecordSet recordsOfJson(std::string_view content, const std::string& source,
                        const ReadOptions& options) {
    const Json document = parsed(content, source);
    const JsonMembers root(document, source);
    const Json* entries = root.find("entries");
    if (entries == nullptr || !entries->is_array()) {
        throw Failure(source + " has no array \"entries\"",
                      "give a file that cq has exported as JSON");
    }
    RecordSet set;
    set.title = root.text("title");
    set.instrument = root.text("instrument");
    set.serial = root.text("serial");
    set.time = root.text("time");
    set.viewing = viewingOfJson(root);
    for (std::size_t i = 0; i < entries->size(); ++i) {
        set.entries.push_back(entryOfJson((*entries)[i],
                                          source + ": entries[" + std::to_string(i) + "]",
                                          static_cast<std::uint32_t>(i), options));
    }
    return set;
}

}  // namespace cqtool

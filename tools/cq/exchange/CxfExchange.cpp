#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

#include "color/ColorInput.h"
#include "color/ColorMath.h"
#include "cqapi/CQApi.h"
#include "exchange/Formats.h"
#include "exchange/SetViewing.h"
#include "exchange/SpectralGrid.h"
#include "exchange/XmlTree.h"
#include "Failure.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr const char* kCxfNamespace = "http://colorexchangeformat.com/CxF3-core";
// The specifications of what cq writes: of spectra and their colours, and of colours alone.
constexpr const char* kSpectralSpec = "spectral";
constexpr const char* kColorimetricSpec = "colorimetric";
// The tags that hold what the format has no place for.
constexpr const char* kTagCollection = "cq";
constexpr const char* kIndexTag = "index";
constexpr const char* kRecordTag = "record";
constexpr std::array<const char*, 3> kLabElements{"L", "A", "B"};
constexpr std::array<const char*, 3> kXyzElements{"X", "Y", "Z"};
/// Illuminants that the format enumerates; others are custom, with a name.
constexpr std::string_view kCxfIlluminants[] = {"A",  "C",  "D50", "D55", "D65", "D75", "F2",
                                                "F3", "F7", "F9",  "F10", "F11", "F12"};

// --- Writing

/// The time if it is one that XML Schema knows too, else another one.
std::string dateTime(const std::string& time, const std::string& otherwise) {
    const auto seconds = secondsOf(time);
    return seconds ? timeText(*seconds) : otherwise;
}

/// What the format allows: reflectances above -0.1, lightnesses from 0.
bool fitsCxf(const Spectrum& spectrum) {
    return std::all_of(spectrum.begin(), spectrum.end(),
                       [](float value) { return shortest(value) > -0.1 && value < 3; });
}

bool fitsCxf(const ColorData& lab) {
    return lab.values[0] >= 0 && std::all_of(std::begin(lab.values), std::end(lab.values),
                                             [](float value) { return std::isfinite(value); });
}

void addColorValues(XmlElement& object, const RecordEntry& entry, const std::string& measured) {
    XmlElement values{"ColorValues", {}, {}, {}};
    if (entry.spectrum) {
        XmlElement& spectrum = values.add("ReflectanceSpectrum");
        for (const float value : *entry.spectrum) {
            spectrum.text += (spectrum.text.empty() ? "" : " ") + digitsOf(shortest(value));
        }
        if (!measured.empty()) {
            spectrum.attributes.emplace_back("MeasureDate", measured);
        }
        spectrum.attributes.emplace_back("StartWL", std::to_string(kFirstWavelength));
        spectrum.attributes.emplace_back("ColorSpecification", kSpectralSpec);
    }
    if (entry.lab && fitsCxf(*entry.lab)) {
        XmlElement& lab = values.add("ColorCIELab");
        lab.attributes = {
            {"ColorSpecification", entry.spectrum ? kSpectralSpec : kColorimetricSpec}};
        for (std::size_t i = 0; i < kLabElements.size(); ++i) {
            lab.add(kLabElements[i], digitsOf(shortest(entry.lab->values[i])));
        }
    }
    if (!values.children.empty()) {
        object.children.push_back(std::move(values));
    }
}

void addTag(XmlElement& tags, const char* name, const std::string& value) {
    tags.add("Tag").attributes = {{"Name", name}, {"Value", value}};
}

XmlElement objectOf(const RecordEntry& entry, std::size_t number, const std::string& written) {
    const bool isHeld = entry.spectrum ? fitsCxf(*entry.spectrum)
                                       : entry.record || (entry.lab && fitsCxf(*entry.lab));
    if (!isHeld) {
        throw Failure("CxF cannot hold '" + entry.name +
                          "': it has neither a spectrum above -0.1 nor L*, a*, b* with L* from 0",
                      "export as csv or json");
    }
    XmlElement object{"Object", {}, {}, {}};
    object.attributes = {{"ObjectType", entry.isStandard ? "Standard" : "Trial"},
                         {"Name", entry.name},
                         {"Id", "object" + std::to_string(number)}};
    const std::string measured = dateTime(entry.time, {});
    object.add("CreationDate", measured.empty() ? written : measured);
    addColorValues(object, entry, measured);
    XmlElement& tags = object.add("TagCollection");
    tags.attributes = {{"Name", kTagCollection}};
    addTag(tags, kIndexTag, std::to_string(entry.index));
    if (entry.record) {
        addTag(tags, kRecordTag, hexText(entry.record->bytes, sizeof entry.record->bytes));
    }
    return object;
}

XmlElement specificationOf(const RecordSet& set, bool isSpectral) {
    XmlElement specification{"ColorSpecification", {}, {}, {}};
    specification.attributes = {{"Id", isSpectral ? kSpectralSpec : kColorimetricSpec}};
    XmlElement& viewing = specification.add("TristimulusSpec");
    const std::string name = illuminantName(set.viewing.illuminant);
    if (std::find(std::begin(kCxfIlluminants), std::end(kCxfIlluminants), name) !=
        std::end(kCxfIlluminants)) {
        viewing.add("Illuminant", name);
    } else {
        viewing.add("Illuminant", "Custom").attributes = {{"Name", name}};
    }
    viewing.add("Observer", std::to_string(observerDegrees(set.viewing.observer)) + "_Degree");
    viewing.add("Method", "unknown");
    XmlElement& measurement = specification.add("MeasurementSpec");
    measurement.add("MeasurementType",
                    isSpectral ? "Spectrum_Reflectance" : "Colorimetric_Reflectance");
    measurement.add("GeometryChoice").add("UnknownGeometry", "not stated by the instrument");
    if (isSpectral) {
        measurement.add("WavelengthRange").attributes = {
            {"StartWL", std::to_string(kFirstWavelength)},
            {"Increment", std::to_string(kWavelengthStep)}};
    }
    if (!set.instrument.empty() || !set.serial.empty()) {
        XmlElement& device = measurement.add("Device");
        device.add("Model", set.instrument);
        device.add("SerialNumber", set.serial);
    }
    return specification;
}

// --- Reading

/// A trial, whatever a program calls it; everything else is compared with.
bool isTrialType(const std::string& type) {
    static constexpr std::string_view kTrialTypes[] = {"trial", "sample", "batch", "specimen"};
    return std::find(std::begin(kTrialTypes), std::end(kTrialTypes), lowerCase(type)) !=
           std::end(kTrialTypes);
}

/// Reads a document into a set.
class CxfReader {
  public:
    CxfReader(const XmlElement& root, const std::string& source) : source_(source) {
        if (root.name != "CxF") {
            throw Failure(source + " is not a CxF3 file: its root is " + shown(root.name),
                          "name the file's format with --format");
        }
        information_ = root.child("FileInformation");
        const XmlElement* resources = root.child("Resources");
        if (resources != nullptr) {
            objects_ = resources->child("ObjectCollection");
            specifications_ = resources->child("ColorSpecificationCollection");
        }
    }

    RecordSet set() {
        RecordSet set;
        if (information_ != nullptr) {
            set.title = information_->textOf("Description");
            set.time = dateTime(information_->textOf("CreationDate"),
                                information_->textOf("CreationDate"));
        }
        if (objects_ != nullptr) {
            for (const XmlElement& object : objects_->children) {
                addEntry(set, object);
            }
        }
        if (set.entries.empty()) {
            throw Failure(
                source_ + " has no object with a reflectance spectrum, CIELAB or CIEXYZ values",
                "give a CxF3 file of measured colours");
        }
        set.viewing = viewing_.viewing();
        for (RecordEntry& entry : set.entries) {
            if (entry.spectrum) {
                entry.lab = colorOfSpectrum(*entry.spectrum, ColorSpaceLab, set.viewing);
            }
        }
        set.instrument = instrument_;
        set.serial = serial_;
        return set;
    }

  private:
    void addEntry(RecordSet& set, const XmlElement& object) {
        RecordEntry entry;
        entry.name = object.attribute("Name");
        entry.isStandard = !isTrialType(object.attribute("ObjectType"));
        entry.index = static_cast<std::uint32_t>(set.entries.size());
        where_ = source_ + ": the object '" + shown(entry.name) + "'";
        addTags(entry, object);
        if (entry.name.empty()) {
            entry.name = defaultName(entry.index, entry.isStandard);
        }
        // An object without a date of its own gets that of the file.
        const std::string created = object.textOf("CreationDate");
        entry.time = dateTime(created, created);
        entry.time = entry.time == set.time ? std::string() : entry.time;
        if (const XmlElement* values = object.child("ColorValues")) {
            addValues(entry, *values);
        }
        // Inks and papers may be there by name alone.
        if (entry.spectrum || entry.lab || entry.record) {
            set.entries.push_back(std::move(entry));
        }
    }

    void addTags(RecordEntry& entry, const XmlElement& object) const {
        for (const XmlElement& tags : object.children) {
            if (tags.name != "TagCollection" || tags.attribute("Name") != kTagCollection) {
                continue;
            }
            for (const XmlElement& tag : tags.children) {
                const std::string value = tag.attribute("Value");
                if (tag.attribute("Name") == kIndexTag) {
                    const double index = number(value, "the index");
                    if (index < 0 || index > 0xFFFFFFFF || index != std::floor(index)) {
                        throw Failure(where_ + ": the index must be a whole number from 0, not '" +
                                      shown(value) + "'");
                    }
                    entry.index = static_cast<std::uint32_t>(index);
                } else if (tag.attribute("Name") == kRecordTag) {
                    entry.record = recordOfHex(value, where_);
                }
            }
        }
    }

    void addValues(RecordEntry& entry, const XmlElement& values) {
        const XmlElement* spectrum = values.child("ReflectanceSpectrum");
        const XmlElement* lab = values.child("ColorCIELab");
        const XmlElement* xyz = values.child("ColorCIEXYZ");
        const XmlElement* first = spectrum != nullptr ? spectrum : lab != nullptr ? lab : xyz;
        if (first == nullptr) {
            return;
        }
        const XmlElement* specification = specificationFor(*first);
        takeDevice(specification);
        if (spectrum != nullptr) {
            entry.spectrum = spectrumOf(*spectrum, specification);
            const std::string measured = spectrum->attribute("MeasureDate");
            entry.time = measured.empty() ? entry.time : dateTime(measured, measured);
            addSpectrumViewing(lab != nullptr ? specificationFor(*lab) : specification);
            return;
        }
        const Viewing viewing = viewing_.addColor(viewingOf(specification), where_);
        entry.lab = lab != nullptr
                        ? colorIn(*lab, kLabElements)
                        : colorOfXyz(colorIn(*xyz, kXyzElements), ColorSpaceLab, viewing);
        checkLab(*entry.lab, where_);
    }

    ColorData colorIn(const XmlElement& value, const std::array<const char*, 3>& names) const {
        ColorData color{};
        for (std::size_t i = 0; i < names.size(); ++i) {
            color.values[i] = static_cast<float>(number(value.textOf(names[i]), names[i]));
        }
        return color;
    }

    /// A spectrum can be taken for others than the light that the file names.
    void addSpectrumViewing(const XmlElement* specification) {
        try {
            viewing_.addSpectrum(viewingOf(specification));
        } catch (const Failure&) {
            // It is a light that the library does not have.
        }
    }

    const XmlElement* specificationFor(const XmlElement& value) const {
        const std::string id = value.attribute("ColorSpecification");
        if (specifications_ != nullptr) {
            for (const XmlElement& specification : specifications_->children) {
                if (specification.attribute("Id") == id) {
                    return &specification;
                }
            }
        }
        return nullptr;
    }

    Spectrum spectrumOf(const XmlElement& spectrum, const XmlElement* specification) const {
        std::vector<double> values;
        for (const std::string_view word : splitWords(spectrum.text)) {
            values.push_back(number(word, "a reflectance"));
        }
        const XmlElement* measurement =
            specification == nullptr ? nullptr : specification->child("MeasurementSpec");
        const XmlElement* range =
            measurement == nullptr ? nullptr : measurement->child("WavelengthRange");
        if (range == nullptr && values.size() != kWavelengthCount) {
            throw Failure(where_ + ": no specification gives the wavelengths of its " +
                              counted(values.size(), "values"),
                          "the WavelengthRange of its ColorSpecification must");
        }
        SpectralGrid grid;
        if (range != nullptr) {
            grid.first = number(range->attribute("StartWL"), "StartWL");
            grid.step = number(range->attribute("Increment"), "Increment");
        }
        if (const std::string start = spectrum.attribute("StartWL"); !start.empty()) {
            grid.first = number(start, "StartWL");
        }
        return spectrumOnGrid(values, grid, 1, where_);
    }

    static std::vector<std::string_view> splitWords(std::string_view text) {
        std::vector<std::string_view> words;
        for (text = trimmed(text); !text.empty(); text = trimmed(text)) {
            words.push_back(text.substr(0, text.find_first_of(" \t\r\n")));
            text.remove_prefix(words.back().size());
        }
        return words;
    }

    /// Nothing if it does not say. Throws Failure for what the library does not know.
    std::optional<Viewing> viewingOf(const XmlElement* specification) const {
        const XmlElement* viewing =
            specification == nullptr ? nullptr : specification->child("TristimulusSpec");
        const XmlElement* illuminant = viewing == nullptr ? nullptr : viewing->child("Illuminant");
        if (illuminant == nullptr) {
            return std::nullopt;
        }
        const std::string name =
            illuminant->text == "Custom" ? illuminant->attribute("Name") : illuminant->text;
        const std::string observer = viewing->textOf("Observer");
        return cqtool::viewingOf(name, observer.substr(0, observer.find('_')), where_);
    }

    void takeDevice(const XmlElement* specification) {
        const XmlElement* measurement =
            specification == nullptr ? nullptr : specification->child("MeasurementSpec");
        const XmlElement* device = measurement == nullptr ? nullptr : measurement->child("Device");
        if (device != nullptr && instrument_.empty() && serial_.empty()) {
            instrument_ = device->textOf("Model");
            serial_ = device->textOf("SerialNumber");
        }
    }

    double number(std::string_view text, const std::string& what) const {
        const auto value = parseNumber(text);
        if (!value || std::abs(*value) > 1e9) {
            throw Failure(where_ + ": " + what + " must be a number, not '" +
                          shown(text.substr(0, 40)) + "'");
        }
        return *value;
    }

    const std::string& source_;
    const XmlElement* information_ = nullptr;
    const XmlElement* objects_ = nullptr;
    const XmlElement* specifications_ = nullptr;
    std::string where_;  ///< the object that is being read
    SetViewing viewing_;
    std::string instrument_;
    std::string serial_;
};

}  // namespace

std::string cxfOf(const RecordSet& set) {
    XmlElement root{"CxF", {{"xmlns", kCxfNamespace}}, {}, {}};
    const std::string written = dateTime(set.time, nowText());
    XmlElement& information = root.add("FileInformation");
    information.add("Creator", std::string("cq ") + CQAPI_VERSION_STRING);
    information.add("CreationDate", written);
    if (!set.title.empty()) {
        information.add("Description", set.title);
    }
    XmlElement& resources = root.add("Resources");
    if (!set.entries.empty()) {
        XmlElement& objects = resources.add("ObjectCollection");
        for (const RecordEntry& entry : set.entries) {
            objects.children.push_back(objectOf(entry, objects.children.size() + 1, written));
        }
    }
    XmlElement& specifications = resources.add("ColorSpecificationCollection");
    for (const bool isSpectral : {true, false}) {
        specifications.children.push_back(specificationOf(set, isSpectral));
    }
    return writtenXml(root);
}

RecordSet recordsOfCxf(std::string_view content, const std::string& source) {
    const XmlElement root = readXml(content, source);
    return CxfReader(root, source).set();
}

}  // namespace cqtool

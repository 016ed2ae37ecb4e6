#include "instrument/RecordLayout.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#include "Failure.h"
#include "system/Files.h"
#include "text/JsonMembers.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr const char* kExample =
    R"({"offset": 64, "count": 31, "format": "float32", "scale": 1.0, "start": 400, "step": 10})";

constexpr std::size_t kRecordBytes = sizeof(CqMeasurementRecord);
constexpr std::size_t kMostKind = 255;

std::size_t sizeOf(RecordLayout::Format format) {
    switch (format) {
        case RecordLayout::Format::float32:
            return 4;
        case RecordLayout::Format::float64:
            return 8;
        case RecordLayout::Format::uint16:
            return 2;
    }
    return 0;
}

template <typename T>
T loadUnsigned(const std::uint8_t* bytes) {
    T value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) {
        value = static_cast<T>(value | static_cast<T>(T{bytes[i]} << (8 * i)));
    }
    return value;
}

double loadNumber(const std::uint8_t* bytes, RecordLayout::Format format) {
    switch (format) {
        case RecordLayout::Format::float32:
            return std::bit_cast<float>(loadUnsigned<std::uint32_t>(bytes));
        case RecordLayout::Format::float64:
            return std::bit_cast<double>(loadUnsigned<std::uint64_t>(bytes));
        case RecordLayout::Format::uint16:
            return loadUnsigned<std::uint16_t>(bytes);
    }
    return 0;
}

/// Reads the members of a description; errors name the file and the member.
class LayoutReader {
  public:
    LayoutReader(std::string_view json, const std::string& source)
        : source_(source),
          document_(parsedObject(json, [this](const std::string& problem) { refuse(problem); })) {}

    RecordLayout read() const {
        refuseUnknownMembers();
        requireGrid("count", static_cast<int>(kWavelengthCount));
        requireGrid("start", kFirstWavelength);
        requireGrid("step", kWavelengthStep);
        RecordLayout layout;
        layout.format = format();
        layout.offset = offset(layout.format);
        layout.scale = scale();
        layout.name.reset();
        layout.kind.reset();
        layout.time.reset();
        layout.signature = {};
        readParts(layout);
        return layout;
    }

  private:
    [[noreturn]] void refuse(const std::string& problem) const {
        throw Failure("the record layout " + source_ + " " + problem,
                      std::string("describe the record like this: ") + kExample);
    }

    void refuseUnknownMembers() const {
        for (const auto& [name, value] : document_.items()) {
            static constexpr std::string_view kKnown[] = {"offset", "count", "format", "scale",
                                                          "start",  "step",  "name",   "kind",
                                                          "time",   "labels"};
            if (std::find(std::begin(kKnown), std::end(kKnown), name) == std::end(kKnown)) {
                refuse("has a member '" + name + "' that means nothing here");
            }
        }
    }

    void requireGrid(const char* name, int supported) const {
        if (document_.contains(name) && document_[name] != supported) {
            refuse("gives " + std::string(name) + " as " + document_[name].dump() +
                   "; supported are spectra of 31 values from 400 nm in steps of 10 nm");
        }
    }

    RecordLayout::Format format() const {
        const auto member = document_.find("format");
        if (member == document_.end()) {
            refuse("has no 'format'");
        }
        if (*member == "float32") {
            return RecordLayout::Format::float32;
        }
        if (*member == "float64") {
            return RecordLayout::Format::float64;
        }
        if (*member == "uint16") {
            return RecordLayout::Format::uint16;
        }
        refuse("gives the format as " + member->dump() +
               "; supported are \"float32\", \"float64\" and \"uint16\"");
    }

    std::size_t offset(RecordLayout::Format format) const {
        const auto member = document_.find("offset");
        if (member == document_.end()) {
            refuse("has no 'offset'");
        }
        const std::size_t needed = RecordLayout::kCount * sizeOf(format);
        const std::size_t last = sizeof(CqMeasurementRecord) - needed;
        if (!member->is_number_unsigned() || *member > last) {
            refuse("gives the offset as " + member->dump() + "; 31 values of this format take " +
                   std::to_string(needed) + " of the record's 256 bytes, so it can be 0 to " +
                   std::to_string(last));
        }
        return member->get<std::size_t>();
    }

    double scale() const {
        const auto member = document_.find("scale");
        if (member == document_.end()) {
            return 1.0;
        }
        if (!member->is_number() || !(member->get<double>() > 0)) {
            refuse("gives the scale as " + member->dump() + "; it must be a number above 0");
        }
        return member->get<double>();
    }

    void readParts(RecordLayout& layout) const {
        if (document_.contains("name")) {
            const std::size_t offset = part("name", "offset", kRecordBytes - 1);
            layout.name = {offset, part("name", "size", kRecordBytes - offset)};
        }
        if (document_.contains("kind")) {
            layout.kind = {part("kind", "offset", kRecordBytes - 1),
                           static_cast<std::uint8_t>(part("kind", "standard", kMostKind)),
                           static_cast<std::uint8_t>(part("kind", "trial", kMostKind))};
        }
        if (document_.contains("time")) {
            layout.time = part("time", "offset", kRecordBytes - sizeof(std::uint32_t));
        }
    }

    /// A whole number from 0 in a member that is an object.
    std::size_t part(const char* member, const char* name, std::size_t most) const {
        const auto& object = document_.at(member);
        const auto found = object.find(name);
        if (!object.is_object() || found == object.end() || !found->is_number_unsigned() ||
            *found > most) {
            refuse(std::string("must give '") + name + "' of '" + member +
                   "' as a whole number from 0 to " + std::to_string(most));
        }
        return found->get<std::size_t>();
    }

    const std::string& source_;
    Json document_;
};

}  // namespace

RecordLayout parseRecordLayout(std::string_view json, const std::string& source) {
    return LayoutReader(json, source).read();
}

RecordLayout loadRecordLayout(const std::filesystem::path& file) {
    return file.empty() ? RecordLayout{} : parseRecordLayout(readFile(file), sourceName(file));
}

ReadSpectrum readSpectrum(const CqMeasurementRecord& record, const RecordLayout& layout) {
    Spectrum spectrum;
    for (std::size_t i = 0; i < spectrum.size(); ++i) {
        const std::uint8_t* bytes = record.bytes + layout.offset + i * sizeOf(layout.format);
        const double value = loadNumber(bytes, layout.format) * layout.scale;
        if (!(value >= kLeastPlausible && value <= kMostPlausible)) {
            return {std::nullopt, "the record has no plausible spectrum at offset " +
                                      std::to_string(layout.offset) + ": " + fixed(value, 4) +
                                      " at " + std::to_string(wavelength(i)) +
                                      " nm; --record-layout describes where it is"};
        }
        spectrum[i] = static_cast<float>(value);
    }
    return {spectrum, {}};
}

RecordDetails readDetails(const CqMeasurementRecord& record, const RecordLayout& layout) {
    if (!std::equal(layout.signature.begin(), layout.signature.end(), record.bytes)) {
        return {};
    }
    RecordDetails details;
    if (layout.name) {
        details.name = printableText(
            reinterpret_cast<const char*>(record.bytes) + layout.name->offset, layout.name->size);
    }
    if (layout.kind) {
        const std::uint8_t kind = record.bytes[layout.kind->offset];
        if (kind == layout.kind->standard || kind == layout.kind->trial) {
            details.isStandard = kind == layout.kind->standard;
        }
    }
    if (layout.time) {
        details.time = loadUnsigned<std::uint32_t>(record.bytes + *layout.time);
    }
    return details;
}

}  // namespace cqtool

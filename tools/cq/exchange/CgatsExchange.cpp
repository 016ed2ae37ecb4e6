#include <algorithm>

#include "cqapi/CQApi.h"
#include "exchange/CgatsTable.h"
#include "exchange/EntryColumns.h"
#include "exchange/Formats.h"
#include "Failure.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

// Keywords and fields that the standard does not define are declared with KEYWORD.
constexpr const char* kIllumination = "ILLUMINATION";
constexpr const char* kObserverKeyword = "OBSERVER";
constexpr const char* kIdField = "SAMPLE_ID";
constexpr const char* kTimeField = "TIME";
constexpr const char* kKindField = "SAMPLE_KIND";
constexpr const char* kRecordField = "RECORD_HEX";
constexpr const char* kSpectralPrefix = "SPECTRAL_NM";

/// The default if a file does not say for what its colours are computed: CGATS.5 and ISO 13655
/// compute for D50 and 2 degrees.
constexpr Viewing kUnsaid{IlluminantD50, Observer2Degree};

/// Which of the things that an entry may have the table has: every row has the same fields.
struct Shape {
    bool hasTime;
    bool hasLab;
    bool hasSpectrum;
    bool hasRecord;
};

template <typename Has>
bool allOrNone(const RecordSet& set, const char* what, Has has) {
    const auto count = std::count_if(set.entries.begin(), set.entries.end(), has);
    if (count != 0 && static_cast<std::size_t>(count) != set.entries.size()) {
        const auto without = std::find_if_not(set.entries.begin(), set.entries.end(), has);
        throw Failure("CGATS cannot hold these entries: '" + without->name + "' has no " + what +
                          ", others have",
                      "export as csv or json, which leave out what is not there");
    }
    return count != 0;
}

Shape shapeOf(const RecordSet& set) {
    return {std::any_of(set.entries.begin(), set.entries.end(),
                        [](const RecordEntry& e) { return !e.time.empty(); }),
            allOrNone(set, "L*, a*, b*", [](const RecordEntry& e) { return e.lab.has_value(); }),
            allOrNone(set, "spectrum", [](const RecordEntry& e) { return e.spectrum.has_value(); }),
            allOrNone(set, "record", [](const RecordEntry& e) { return e.record.has_value(); })};
}

std::string keywordLine(const char* keyword, const std::string& value) {
    return value.empty() ? std::string() : std::string(keyword) + '\t' + cgatsText(value) + '\n';
}

std::string declaration(const char* keyword) {
    return keywordLine("KEYWORD", keyword);
}

std::string heading(const RecordSet& set, const Shape& shape) {
    std::string text = "CGATS.17\n";
    text += keywordLine("ORIGINATOR", std::string("cq ") + CQAPI_VERSION_STRING);
    text += keywordLine("DESCRIPTOR", set.title);
    text += keywordLine("CREATED", set.time);
    text += keywordLine("INSTRUMENTATION", set.instrument);
    text += keywordLine("SERIAL", set.serial);
    text += declaration(kIllumination);
    text += keywordLine(kIllumination, illuminantName(set.viewing.illuminant));
    text += declaration(kObserverKeyword);
    text += keywordLine(kObserverKeyword, std::to_string(observerDegrees(set.viewing.observer)));
    text += declaration(kKindField);
    text += shape.hasTime ? declaration(kTimeField) : std::string();
    if (shape.hasSpectrum) {
        for (std::size_t i = 0; i < kWavelengthCount; ++i) {
            text += declaration((kSpectralPrefix + std::to_string(wavelength(i))).c_str());
        }
    }
    return text + (shape.hasRecord ? declaration(kRecordField) : std::string());
}

std::vector<std::string> fieldsOf(const Shape& shape) {
    std::vector<std::string> fields{kIdField, "SAMPLE_NAME", kKindField};
    if (shape.hasTime) {
        fields.emplace_back(kTimeField);
    }
    if (shape.hasLab) {
        fields.insert(fields.end(), {"LAB_L", "LAB_A", "LAB_B"});
    }
    for (std::size_t i = 0; shape.hasSpectrum && i < kWavelengthCount; ++i) {
        fields.push_back(kSpectralPrefix + std::to_string(wavelength(i)));
    }
    if (shape.hasRecord) {
        fields.emplace_back(kRecordField);
    }
    return fields;
}

std::string row(const RecordEntry& entry, const Shape& shape) {
    std::string line =
        std::to_string(entry.index) + '\t' + cgatsText(entry.name) + '\t' + entry.kind();
    line += shape.hasTime ? '\t' + cgatsText(entry.time) : std::string();
    const auto append = [&line](float value) { line += '\t' + digitsOf(shortest(value)); };
    if (entry.lab) {
        std::for_each(std::begin(entry.lab->values), std::end(entry.lab->values), append);
    }
    if (entry.spectrum) {
        std::for_each(entry.spectrum->begin(), entry.spectrum->end(), append);
    }
    if (entry.record) {
        line += '\t' + cgatsText(hexText(entry.record->bytes, sizeof entry.record->bytes));
    }
    return line + '\n';
}

Viewing viewingOfTable(const CgatsTable& table, const std::string& source) {
    const std::string illuminant = table.value(kIllumination);
    const std::string observer = table.value(kObserverKeyword);
    return illuminant.empty() && observer.empty() ? kUnsaid
                                                  : viewingOf(illuminant, observer, source);
}

}  // namespace

std::string cgatsOf(const RecordSet& set) {
    const Shape shape = shapeOf(set);
    const auto fields = fieldsOf(shape);
    std::string text = heading(set, shape) + "NUMBER_OF_FIELDS\t" + std::to_string(fields.size()) +
                       "\nBEGIN_DATA_FORMAT\n";
    for (const std::string& field : fields) {
        text += field + (&field == &fields.back() ? '\n' : '\t');
    }
    text +=
        "END_DATA_FORMAT\nNUMBER_OF_SETS\t" + std::to_string(set.entries.size()) + "\nBEGIN_DATA\n";
    for (const RecordEntry& entry : set.entries) {
        text += row(entry, shape);
    }
    return text + "END_DATA\n";
}

RecordSet recordsOfCgats(std::string_view content, const std::string& source,
                         const ReadOptions& options) {
    const CgatsTable table = readCgats(content, source);
    const EntryColumns columns(table.fields, options,
                               source + " line " + std::to_string(table.formatLine));
    RecordSet set;
    set.title = table.value("DESCRIPTOR");
    set.instrument = table.value("INSTRUMENTATION");
    set.serial = table.value("SERIAL");
    set.time = table.value("CREATED");
    set.viewing = viewingOfTable(table, source);
    for (const CgatsTable::Row& line : table.rows) {
        set.entries.push_back(columns.entry(line.cells,
                                            static_cast<std::uint32_t>(set.entries.size()),
                                            source + " line " + std::to_string(line.line)));
    }
    return set;
}

}  // namespace cqtool

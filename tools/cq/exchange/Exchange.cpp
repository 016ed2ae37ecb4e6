#include "exchange/Exchange.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "color/ColorMath.h"
#include "exchange/Formats.h"
#include "Failure.h"
#include "report/RecordReport.h"
#include "system/Files.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr std::size_t kRecordSize = sizeof(CqMeasurementRecord::bytes);

struct FormatName {
    ExchangeFormat format;
    std::string_view name;
    std::vector<std::string_view> extensions;
};

const std::vector<FormatName>& formatNames() {
    static const std::vector<FormatName> kFormats{
        {ExchangeFormat::csv, "csv", {".csv"}},
        {ExchangeFormat::json, "json", {".json"}},
        {ExchangeFormat::cgats, "cgats", {".cgats", ".txt"}},
        {ExchangeFormat::qtx, "qtx", {".qtx"}},
        {ExchangeFormat::cxf, "cxf", {".cxf"}},
        {ExchangeFormat::html, "html", {".html", ".htm"}},
        {ExchangeFormat::raw, "raw", {".raw", ".bin", ".record"}},
    };
    return kFormats;
}

bool contains(const std::vector<std::string_view>& texts, std::string_view wanted) {
    return std::find(texts.begin(), texts.end(), wanted) != texts.end();
}

ExchangeFormat formatNamed(const std::string& name) {
    for (const FormatName& format : formatNames()) {
        if (format.name == lowerCase(name)) {
            return format.format;
        }
    }
    throw UsageError("no format is called '" + name + "'; there are: " + exchangeFormatNames());
}

std::string rawOf(const RecordSet& set) {
    std::string content;
    for (const CqMeasurementRecord& record : recordsOf(set, "the export")) {
        content.append(reinterpret_cast<const char*>(record.bytes), kRecordSize);
    }
    return content;
}

RecordSet recordsOfRaw(std::string_view content, const std::string& source,
                       const RecordLayout& layout) {
    if (content.empty() || content.size() % kRecordSize != 0) {
        throw Failure(source + " is not a file of raw records: it has " +
                          counted(content.size(), "bytes") + ", but records have 256 each",
                      "give a file of whole records, or name its format with --format");
    }
    RecordSet set;
    for (std::size_t at = 0; at < content.size(); at += kRecordSize) {
        CqMeasurementRecord record;
        std::memcpy(record.bytes, content.data() + at, kRecordSize);
        set.entries.push_back(entryOf(record, static_cast<std::uint32_t>(at / kRecordSize),
                                      std::nullopt, layout, set.viewing));
    }
    return set;
}

}  // namespace

std::string exchangeFormatNames() {
    std::vector<std::string> names;
    for (const FormatName& format : formatNames()) {
        names.emplace_back(format.name);
    }
    return joined(names, ", ");
}

ExchangeFormat exchangeFormatFor(const std::filesystem::path& file, const std::string& name) {
    if (!name.empty()) {
        return formatNamed(name);
    }
    const std::string extension = lowerCase(file.extension().string());
    for (const FormatName& format : formatNames()) {
        if (contains(format.extensions, extension)) {
            return format.format;
        }
    }
    throw UsageError("the name " + file.string() +
                     " does not say which format it is; rename it, or give --format, one of " +
                     exchangeFormatNames());
}

ExchangeFormat pageFormatFor(const std::filesystem::path& file) {
    const std::string extension = lowerCase(file.extension().string());
    if (contains({".html", ".htm"}, extension) || (extension.empty() && isStream(file))) {
        return ExchangeFormat::html;
    }
    if (extension == ".json") {
        return ExchangeFormat::json;
    }
    throw UsageError("the page " + file.string() +
                     " must be named .html, or .json for its numbers");
}

RecordSet recordSetOf(const CqDeviceInfo& info, const std::string& what, const Viewing& viewing) {
    // By convention the third text is the model, the fourth the serial number.
    RecordSet set;
    set.instrument = printableText(info.infoText3, sizeof info.infoText3);
    set.serial = printableText(info.infoText4, sizeof info.infoText4);
    set.title = what + " of " + (set.instrument.empty() ? "an instrument" : set.instrument);
    set.time = nowText();
    set.viewing = viewing;
    return set;
}

std::string defaultName(std::uint32_t index, std::optional<bool> isStandard) {
    const char* kind = !isStandard ? "record " : *isStandard ? "standard " : "trial ";
    return kind + std::to_string(index);
}

RecordEntry entryOf(const CqMeasurementRecord& record, std::uint32_t index,
                    std::optional<bool> isStandard, const RecordLayout& layout,
                    const Viewing& viewing, const std::string& name) {
    const RecordDetails details = readDetails(record, layout);
    const std::optional<bool> kind = isStandard ? isStandard : details.isStandard;
    RecordEntry entry;
    entry.index = index;
    entry.name = !name.empty()           ? name
                 : !details.name.empty() ? details.name
                                         : defaultName(index, kind);
    entry.isStandard = kind.value_or(true);
    entry.time = details.time ? timeText(*details.time) : std::string();
    entry.record = record;
    entry.spectrum = readSpectrum(record, layout).spectrum;
    if (entry.spectrum) {
        entry.lab = colorOfSpectrum(*entry.spectrum, ColorSpaceLab, viewing);
    }
    return entry;
}

std::string writtenRecords(const RecordSet& set, ExchangeFormat format,
                           const WriteOptions& options) {
    switch (format) {
        case ExchangeFormat::csv:
            return csvOf(set, options);
        case ExchangeFormat::json:
            return pageOfJson(jsonOf(set));
        case ExchangeFormat::cgats:
            return cgatsOf(set);
        case ExchangeFormat::qtx:
            return qtxOf(set);
        case ExchangeFormat::cxf:
            return cxfOf(set);
        case ExchangeFormat::html:
            return recordReport(set);
        case ExchangeFormat::raw:
            break;
    }
    return rawOf(set);
}

RecordSet parsedRecords(std::string_view content, ExchangeFormat format, const std::string& source,
                        const ReadOptions& options) {
    switch (format) {
        case ExchangeFormat::csv:
            return recordsOfCsv(content, source, options);
        case ExchangeFormat::json:
            return recordsOfJson(content, source, options);
        case ExchangeFormat::cgats:
            return recordsOfCgats(content, source, options);
        case ExchangeFormat::qtx:
            return recordsOfQtx(content, source);
        case ExchangeFormat::cxf:
            return recordsOfCxf(content, source);
        case ExchangeFormat::html:
            throw Failure(source + " is a report, which is for people and not read back",
                          "export as csv, json, cgats, cxf or raw");
        case ExchangeFormat::raw:
            break;
    }
    return recordsOfRaw(content, source, options.layout);
}

RecordSet loadRecords(const std::filesystem::path& file, ExchangeFormat format,
                      const ReadOptions& options) {
    return parsedRecords(readFile(file), format, sourceName(file), options);
}

std::vector<CqMeasurementRecord> recordsOf(const RecordSet& set, const std::string& source) {
    std::vector<CqMeasurementRecord> records;
    for (const RecordEntry& entry : set.entries) {
        if (!entry.record) {
            throw Failure(source + " has no instrument's record for '" + entry.name + "'",
                          "an instrument takes only its own records: use a file that was exported "
                          "with them");
        }
        records.push_back(*entry.record);
    }
    return records;
}

bool isStandardOf(std::string_view kind, const std::string& where) {
    const std::string word = lowerCase(kind);
    if (word != "standard" && word != "trial") {
        throw Failure(where + ": the kind must be standard or trial, not '" + std::string(kind) +
                      "'");
    }
    return word == "standard";
}

CqMeasurementRecord recordOfHex(std::string_view digits, const std::string& where) {
    CqMeasurementRecord record;
    if (!bytesOfHex(digits, record.bytes)) {
        throw Failure(where + ": a record must be 512 hexadecimal digits, here are " +
                      counted(digits.size(), "characters"));
    }
    return record;
}

void checkReflectance(double value, const std::string& where) {
    if (!(value >= kLeastPlausible && value <= kMostPlausible)) {
        throw Failure(where + " is not a reflectance",
                      "spectra must be fractions: 1 is the perfect white, not 100; --percent of cq "
                      "report and cq color takes percentages");
    }
}

Viewing viewingOf(const std::string& illuminant, const std::string& observer,
                  const std::string& where) {
    try {
        return {illuminantNamed(illuminant), observerNamed(observer)};
    } catch (const UsageError& error) {
        throw Failure(where + ": " + error.what());
    }
}

}  // namespace cqtool

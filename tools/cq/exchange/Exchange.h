#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "color/ColorNames.h"
#include "color/Spectrum.h"
#include "cqapi/CQApi.h"
#include "instrument/RecordLayout.h"
#include "text/Time.h"

namespace cqtool {

/// One measurement as it is passed between programs. Unknown parts are left out.
struct RecordEntry {
    std::uint32_t index = 0;  ///< where the instrument stores it, or a count from 0
    std::string name;
    bool isStandard = true;
    std::string time;  ///< of the measurement, as nowText() writes it
    std::optional<Spectrum> spectrum;
    std::optional<ColorData> lab;               ///< for the set's viewing
    std::optional<CqMeasurementRecord> record;  ///< the instrument's own bytes

    const char* kind() const { return isStandard ? "standard" : "trial"; }
};

/// Measurements and their origin. Texts are UTF-8; an empty one is unknown.
struct RecordSet {
    std::string title;
    std::string instrument;
    std::string serial;
    std::string time;  ///< of the export, as nowText() writes it
    Viewing viewing;   ///< that the entries' L*, a*, b* are for
    std::vector<RecordEntry> entries;
};

/// How to read what a file does not say itself.
struct ReadOptions {
    bool isPercent = false;         ///< spectra are in percent
    RecordLayout layout;            ///< of raw records
    std::ostream* notes = nullptr;  ///< for a line that says what is assumed
};

/// How to write CSV.
struct WriteOptions {
    bool hasDecimalComma = false;  ///< in numbers; semicolons separate the fields then
};

/// csv: a line a measurement, with a header. json: stable member names. cgats: the text form of
/// ANSI CGATS.17. qtx: sections of KEY=value, as industrial colour programs exchange them. cxf: XML
/// of CxF3. raw: the records' 256 bytes, one after the other. html: a report; it is not read back.
enum class ExchangeFormat { csv, json, cgats, qtx, cxf, html, raw };

/// The names of the formats: "csv, json, cgats, qtx, cxf, html, raw".
std::string exchangeFormatNames();

/// The format with this name, else by the file's extension (.csv, .json, .txt and .cgats, .qtx,
/// .cxf, .html and .htm, .bin, .raw and .record). Throws UsageError if neither names one.
ExchangeFormat exchangeFormatFor(const std::filesystem::path& file, const std::string& name = {});

/// The same for a page, which is html or json; html for a stream without one.
ExchangeFormat pageFormatFor(const std::filesystem::path& file);

/// A set without entries of what an instrument has given.
/// \param what its title begins with: "Standards".
RecordSet recordSetOf(const CqDeviceInfo& info, const std::string& what, const Viewing& viewing);

/// An entry from an instrument's record: with the spectrum, L*, a*, b*, name and time that the layout
/// finds in it.
/// \param isStandard nothing: as the layout tells, or else a standard.
/// \param name empty: the record's, or else from kind and index: "standard 3", "trial 3".
RecordEntry entryOf(const CqMeasurementRecord& record, std::uint32_t index,
                    std::optional<bool> isStandard, const RecordLayout& layout,
                    const Viewing& viewing, const std::string& name = {});

/// The content of a file in this format.
/// Throws Failure, with what would help, if the format cannot hold an entry: raw without its
/// record, cgats if some entries have a spectrum, L*a*b* or a record and others do not, qtx with
/// neither a spectrum nor L*a*b*, cxf without any of the three.
std::string writtenRecords(const RecordSet& set, ExchangeFormat format,
                           const WriteOptions& options = {});

/// Reads what writtenRecords() gives, and files of other programs as far as they have what is
/// needed. A raw file holds records alone; the rest is what the layout finds in them.
/// \param source what messages call the content.
/// Throws Failure, with the line (in JSON the member), for any other content, and for html.
RecordSet parsedRecords(std::string_view content, ExchangeFormat format, const std::string& source,
                        const ReadOptions& options = {});

/// The same from a file.
RecordSet loadRecords(const std::filesystem::path& file, ExchangeFormat format,
                      const ReadOptions& options = {});

/// The record of every entry, in order; throws Failure naming the first without one.
/// \param source as above.
std::vector<CqMeasurementRecord> recordsOf(const RecordSet& set, const std::string& source);

}  // namespace cqtool

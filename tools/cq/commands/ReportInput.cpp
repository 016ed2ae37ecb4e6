#include "commands/ReportInput.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <ostream>

#include "color/ColorMath.h"
#include "commands/Options.h"
#include "exchange/Exchange.h"
#include "Failure.h"
#include "job/JobFile.h"
#include "report/RecordReport.h"
#include "system/Files.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr double kLeastTolerance = 0.001;
constexpr double kMostTolerance = 100;
constexpr std::uint32_t kMostIndex = 0xFFFFFFFE;
/// More than anybody looks at on a page, and than browsers show gladly.
constexpr std::size_t kMostReported = 20'000;

bool isNumber(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

[[noreturn]] void refuseSize(const std::string& file) {
    throw Failure(file + " holds more than " + std::to_string(kMostReported) +
                      " measurements, the most that a report can show",
                  "divide the file");
}

/// Computes the colours of exported files.
class ExportReader {
  public:
    ExportReader(const ReportInput& input, std::ostream& notes)
        : input_(input), reading_{input.isPercent, loadRecordLayout(input.recordLayout), &notes} {}

    /// \param format as exchangeFormatFor() takes it.
    /// \param viewing illuminant and observer; nothing: those of the file.
    RecordSet read(const std::string& file, const std::string& format,
                   const std::optional<Viewing>& viewing) const {
        RecordSet set = load(file, exchangeFormatFor(file, format));
        if (set.entries.empty()) {
            throw Failure(file + " holds no measurements");
        }
        Viewing wanted = viewing.value_or(set.viewing);
        if (!viewing) {
            wanted.illuminant =
                input_.illuminants.empty() ? wanted.illuminant : input_.illuminants.front();
            wanted.observer = input_.observer.value_or(wanted.observer);
        }
        for (RecordEntry& entry : set.entries) {
            color(entry, set.viewing, wanted, file);
        }
        set.viewing = wanted;
        return set;
    }

  private:
    RecordSet load(const std::string& file, ExchangeFormat format) const {
        const std::string content = readFile(file);
        // In lines there are more than measurements, but seen before memory is taken for them.
        const bool isTable = format == ExchangeFormat::csv || format == ExchangeFormat::cgats;
        const auto lines = std::count(content.begin(), content.end(), '\n');
        if (isTable && static_cast<std::size_t>(lines) > 2 * kMostReported) {
            refuseSize(file);
        }
        RecordSet set = parsedRecords(content, format, sourceName(file), reading_);
        if (set.entries.size() > kMostReported) {
            refuseSize(file);
        }
        return set;
    }

    void color(RecordEntry& entry, const Viewing& given, const Viewing& wanted,
               const std::string& file) const {
        std::string problem = "it has none";
        if (!entry.spectrum && entry.record) {
            const ReadSpectrum read = readSpectrum(*entry.record, reading_.layout);
            entry.spectrum = read.spectrum;
            problem = read.problem;
        }
        const bool needsSpectrum =
            viewingName(given) != viewingName(wanted) || input_.illuminants.size() > 1;
        if (entry.spectrum) {
            entry.lab = colorOfSpectrum(*entry.spectrum, ColorSpaceLab, wanted);
        } else if (!entry.lab) {
            throw Failure(file + ": no colour can be computed for '" + entry.name +
                          "': " + problem);
        } else if (needsSpectrum) {
            const std::int32_t other =
                input_.illuminants.size() > 1 ? input_.illuminants[1] : wanted.illuminant;
            throw Failure(file + ": '" + entry.name + "' has L*, a*, b* for " + viewingName(given) +
                              " and no spectrum to compute them for " +
                              viewingName({other, wanted.observer}),
                          "leave illuminants and observer out, or give files with spectra");
        }
    }

    const ReportInput& input_;
    ReadOptions reading_;
};

/// The entry with this index, a standard if there is one, and all the others as its trials.
std::vector<TrialGroup> groupsAround(std::uint32_t index, const RecordSet& set,
                                     const std::string& file) {
    const auto begin = set.entries.begin();
    const auto end = set.entries.end();
    auto found = std::find_if(begin, end, [index](const RecordEntry& entry) {
        return entry.index == index && entry.isStandard;
    });
    if (found == end) {
        found = std::find_if(begin, end,
                             [index](const RecordEntry& entry) { return entry.index == index; });
    }
    if (found == end) {
        throw Failure(file + " has no measurement with the index " + std::to_string(index),
                      "see the indices in the file's first column, or member \"index\"");
    }
    TrialGroup group{*found, {begin, found}};
    group.trials.insert(group.trials.end(), found + 1, end);
    return {group};
}

std::vector<TrialGroup> groupsFor(const ReportInput& input, const ExportReader& reader,
                                  const RecordSet& set) {
    if (input.standard.empty()) {
        return groupsOf(set);
    }
    if (!input.hasStandardFile()) {
        return groupsAround(wholeNumberOf(input.standard, "--standard", 0, kMostIndex), set,
                            input.file);
    }
    const RecordSet other = reader.read(input.standard, {}, set.viewing);
    std::vector<RecordEntry> standards;
    std::copy_if(other.entries.begin(), other.entries.end(), std::back_inserter(standards),
                 [](const RecordEntry& entry) { return entry.isStandard; });
    return groupsAgainst(standards.empty() ? other.entries : standards, set, input.standard);
}

Limit reportLimit(const std::string& text, const char* option, const ReportInput& input) {
    if (!parseNumber(text)) {
        return limitOf(text, option == std::string("--warn"));
    }
    Limit limit;
    limit.quantity.formula = input.formula;
    limit.most = numberOf(text, option, kLeastTolerance, kMostTolerance);
    limit.isWarning = option == std::string("--warn");
    return limit;
}

/// By its name, or by how its first line begins.
bool isJobFile(const ReportInput& input) {
    if (!input.format.empty() || isStream(input.file)) {
        return false;
    }
    if (lowerCase(std::filesystem::path(input.file).extension().string()) == ".cqjob") {
        return true;
    }
    static constexpr std::string_view kBeginning = "{\"number\":1,";
    std::string begin(kBeginning.size(), '\0');
    std::ifstream(input.file, std::ios::binary)
        .read(begin.data(), static_cast<std::streamsize>(begin.size()));
    return begin == kBeginning;
}

Job jobOfFile(const ReportInput& input, std::ostream& notes) {
    if (!input.standard.empty() || input.isPercent || !input.recordLayout.empty()) {
        throw UsageError(
            "--standard, --percent and --record-layout are for exported files; a job has its "
            "standards and spectra");
    }
    const JobFile file(input.file);
    if (file.tornBytes() > 0) {
        notes << "cq: the last line of " << shown(input.file)
              << " is not complete and left out: it was being written, or its writer was ended\n";
    }
    if (file.job().measurements.size() > kMostReported) {
        refuseSize(input.file);
    }
    return file.job();
}

/// \param given the viewing that a job's own L*, a*, b* are for.
void requireSpectra(const Job& job, const Viewing& given) {
    for (const JobMeasurement& one : job.measurements) {
        if (!one.entry.spectrum) {
            throw Failure("'" + one.entry.name + "' has L*, a*, b* for " + viewingName(given) +
                              " and no spectrum to compute them for " +
                              viewingName(job.viewing.primary()),
                          "leave illuminants and observer out");
        }
    }
}

Job jobOfExport(const ReportInput& input, std::ostream& notes) {
    const ExportReader reader(input, notes);
    const RecordSet set = reader.read(input.file, input.format, std::nullopt);
    Job job = jobOf(set, groupsFor(input, reader, set));
    job.title = set.title;
    return job;
}

}  // namespace

bool ReportInput::hasStandardFile() const {
    return !standard.empty() && !isNumber(standard);
}

Job jobFor(const ReportInput& input, std::ostream& notes) {
    const bool isJob = isJobFile(input);
    Job job = isJob ? jobOfFile(input, notes) : jobOfExport(input, notes);
    if (!input.title.empty()) {
        job.title = input.title;
    } else if (job.title.empty()) {
        job.title = std::filesystem::path(sourceName(input.file)).filename().string();
    }
    const Viewing given = job.viewing.primary();
    if (!input.illuminants.empty()) {
        job.viewing.illuminants = input.illuminants;
    }
    job.viewing.observer = input.observer.value_or(job.viewing.observer);
    if (isJob && viewingName(given) != viewingName(job.viewing.primary())) {
        requireSpectra(job, given);
    }
    if (!input.tolerances.empty() || !input.warnings.empty()) {
        job.limits.clear();
    }
    for (const std::string& text : input.tolerances) {
        job.limits.push_back(reportLimit(text, "--tolerance", input));
    }
    for (const std::string& text : input.warnings) {
        job.limits.push_back(reportLimit(text, "--warn", input));
    }
    checkLimits(job.limits, job.viewing);
    return job;
}

}  // namespace cqtool

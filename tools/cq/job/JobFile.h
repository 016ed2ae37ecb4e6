#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "job/Job.h"
#include "system/AppendFile.h"
#include "text/JsonForward.h"
#include "text/JsonObject.h"

namespace cqtool {

/// A job's file: one JSON event a line, appended and never rewritten. Several programs may append at
/// once: each takes the file's lock, reads what the others have written, and writes its own line
/// whole, on the disk before append() returns. Not for two threads at once.
class JobFile {
  public:
    /// Makes a file with its first event; throws Failure if there is one already.
    static JobFile create(const std::filesystem::path& file, const Job& job);

    /// Reads a file. A last line without its end, which a killed program leaves, counts as not
    /// written. Throws Failure, with the line, for a file that is not a job.
    explicit JobFile(std::filesystem::path file);

    const std::filesystem::path& path() const { return file_; }
    const Job& job() const { return job_; }
    /// The last calibration of this instrument that the job knows of, as nowText() writes it; empty:
    /// none.
    std::string calibrationOf(const InstrumentIdentity& instrument) const;
    /// How many seconds it is ago; nothing if there is none.
    std::optional<double> calibrationAgeOf(const InstrumentIdentity& instrument) const;

    /// Takes in what others have appended since.
    /// \param told each new event, in order.
    void refresh(const std::function<void(const Json&)>& told = {});

    /// Appends an event with the next number and the time; the job has it afterwards.
    /// Throws Failure, with nothing written, if the file has become no job or the disk is full.
    /// \return its number.
    std::uint64_t append(const JsonObject& event);
    /// The same for an event that depends on the job as it is under the lock: two programs never count
    /// up to the same name, nor strike the same measurement out.
    std::uint64_t append(const std::function<JsonObject(const Job&)>& eventFor);

    /// That the last append() has cut off a torn line, for a remark; empty: nothing.
    const std::string& repair() const { return repair_; }
    /// Of how many bytes the torn last line is that has been left out in reading.
    std::size_t tornBytes() const { return tornBytes_; }

  private:
    /// Reads on from size_.
    void takeIn(const AppendFile& opened, const std::function<void(const Json&)>& told);
    void takeInLine(std::string_view line, const std::function<void(const Json&)>& told);
    void cutTornLine(AppendFile& opened);
    void write(AppendFile& opened, const std::string& line);

    std::filesystem::path file_;
    Job job_;
    std::uint64_t size_ = 0;  ///< up to where the file has been read
    std::uint64_t lines_ = 0;
    std::size_t tornBytes_ = 0;
    std::string repair_;
};

}  // namespace cqtool

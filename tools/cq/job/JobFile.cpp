#include "job/JobFile.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "Failure.h"
#include "job/JobEvents.h"
#include "text/Json.h"
#include "text/Text.h"
#include "text/Time.h"

namespace cqtool {
namespace {

constexpr std::uint64_t kMostJobBytes = 256ULL << 20;

constexpr const char* kNewJobAdvice = "make a job with cq job new";

std::string lineOfEvent(const JsonObject& event, std::uint64_t number) {
    JsonObject line{{"number", number}, {"time", nowText()}};
    line.update(event);
    return lineOfJson(line);
}

[[noreturn]] void failReading(const std::filesystem::path& file, const std::system_error& error) {
    throw Failure("cannot read " + file.string() + ": " + error.code().message(),
                  "check the name and that you may read it");
}

[[noreturn]] void failWriting(const std::filesystem::path& file, const std::system_error& error) {
    throw Failure("cannot write " + file.string() + ": " + error.code().message(),
                  "check that you may write there and that there is room on the disk");
}

Json parsedEvent(std::string_view line) {
    try {
        return Json::parse(line);
    } catch (const Json::exception&) {
        throw Failure("this is not JSON");
    }
}

void writeNewJob(const std::filesystem::path& file, const std::string& line) {
    AppendFile created(file, AppendFile::Mode::create);
    try {
        created.lock();
        created.append(line);
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove(file, ignored);
        throw;
    }
}

}  // namespace

JobFile JobFile::create(const std::filesystem::path& file, const Job& job) {
    const std::string line = lineOfEvent(createdEvent(job), 1);
    Job trial;
    applyEvent(trial, parsedEvent(line));
    try {
        writeNewJob(file, line);
    } catch (const std::system_error& error) {
        if (error.code() == std::errc::file_exists) {
            throw Failure("there is a file " + file.string() + " already",
                          "give a new name, or go on with that job");
        }
        failWriting(file, error);
    }
    return JobFile(file);
}

JobFile::JobFile(std::filesystem::path file) : file_(std::move(file)) {
    refresh();
    if (lines_ == 0) {
        throw Failure(file_.string() + (tornBytes_ == 0 ? " is empty: it is no job"
                                                        : " is no job: its first line has no end"),
                      kNewJobAdvice);
    }
}

std::string JobFile::calibrationOf(const InstrumentIdentity& instrument) const {
    const auto& all = job_.calibrations;
    const auto last = std::find_if(all.rbegin(), all.rend(), [&](const JobCalibration& one) {
        return one.instrument.model == instrument.model &&
               one.instrument.serial == instrument.serial;
    });
    return last == all.rend() ? std::string() : last->time;
}

std::optional<double> JobFile::calibrationAgeOf(const InstrumentIdentity& instrument) const {
    const auto then = secondsOf(calibrationOf(instrument));
    const auto now = secondsOf(nowText());
    return then && now ? std::optional(std::max(0.0, static_cast<double>(*now - *then)))
                       : std::nullopt;
}

void JobFile::refresh(const std::function<void(const Json&)>& told) {
    try {
        takeIn(AppendFile(file_, AppendFile::Mode::read), told);
    } catch (const std::system_error& error) {
        failReading(file_, error);
    }
}

std::uint64_t JobFile::append(const JsonObject& event) {
    return append([&event](const Job&) { return event; });
}

std::uint64_t JobFile::append(const std::function<JsonObject(const Job&)>& eventFor) {
    repair_.clear();
    try {
        AppendFile opened(file_, AppendFile::Mode::append);
        opened.lock();
        takeIn(opened, {});
        const std::string line = lineOfEvent(eventFor(job_), job_.lastNumber + 1);
        cutTornLine(opened);
        write(opened, line);
    } catch (const std::system_error& error) {
        failWriting(file_, error);
    }
    return job_.lastNumber;
}

void JobFile::takeIn(const AppendFile& opened, const std::function<void(const Json&)>& told) {
    const std::uint64_t end = opened.size();
    if (end < size_) {
        throw Failure(file_.string() + " has become shorter: another program has changed it",
                      "put the whole file back; nothing was written to this one");
    }
    if (end > kMostJobBytes) {
        throw Failure(file_.string() + " has more than 256 MiB: it is no job", kNewJobAdvice);
    }
    const std::string content = opened.readFrom(size_);
    std::string_view rest = content;
    for (std::size_t length; (length = rest.find('\n')) != std::string_view::npos;
         rest.remove_prefix(length + 1)) {
        takeInLine(rest.substr(0, length), told);
        size_ += length + 1;
        ++lines_;
    }
    tornBytes_ = rest.size();
}

void JobFile::takeInLine(std::string_view line, const std::function<void(const Json&)>& told) {
    Json event;
    try {
        event = parsedEvent(line);
        applyEvent(job_, event);
    } catch (const Failure& failure) {
        if (lines_ == 0) {
            throw Failure(file_.string() + " is no job: line 1: " + failure.what(), kNewJobAdvice);
        }
        throw Failure(
            file_.string() + " line " + std::to_string(lines_ + 1) + ": " + failure.what(),
            "put the line right, or the file back from a copy; nothing is written to it "
            "until then");
    }
    if (told) {
        told(event);
    }
}

void JobFile::cutTornLine(AppendFile& opened) {
    if (tornBytes_ > 0) {
        opened.cutTo(size_);
        repair_ = "the last line of " + file_.string() + " had been written in part only; its " +
                  counted(tornBytes_, "bytes") + " are cut off";
        tornBytes_ = 0;
    }
}

void JobFile::write(AppendFile& opened, const std::string& line) {
    // What could not be read again is not written.
    applyEvent(job_, parsedEvent(std::string_view(line).substr(0, line.size() - 1)));
    try {
        opened.append(line);
    } catch (...) {
        job_ = {};
        size_ = lines_ = 0;
        takeIn(opened, {});
        throw;
    }
    size_ += line.size();
    ++lines_;
}

}  // namespace cqtool

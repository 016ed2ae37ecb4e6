#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#endif

#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

#include "../peer/Rounds.h"
#include "job/JobEvents.h"
#include "job/JobFile.h"
#include "Samples.h"
#include "system/Files.h"
#include "text/Json.h"
#include "text/Time.h"

namespace cqtool {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class JobFiles : public testing::Test {
  protected:
    JobFiles() : folder_(fs::temp_directory_path() / ("cq-job-" + testName())) {
        fs::remove_all(folder_);
        fs::create_directory(folder_);
        job_.title = "Lot 12";
        job_.operatorName = "Nachtschicht ü";
        job_.viewing = {{IlluminantD65, IlluminantA}, Observer10Degree};
        job_.limits = {limitOf("dE00<=1", false), limitOf("dE00<=0.8", true)};
        JobFile::create(path_, job_);
    }
    ~JobFiles() override { fs::remove_all(folder_); }

    static std::string testName() {
        return testing::UnitTest::GetInstance()->current_test_info()->name();
    }

    static JobMeasurement measurement(bool isStandard, const std::string& name) {
        JobMeasurement measurement;
        measurement.entry.isStandard = isStandard;
        measurement.entry.name = name;
        measurement.entry.spectrum = rampSpectrum();
        return measurement;
    }

    static JobMeasurement trialOf(std::uint64_t standard, const std::string& name) {
        JobMeasurement trial = measurement(false, name);
        trial.standard = standard;
        return trial;
    }

    void writeRaw(const std::string& text) {
        std::ofstream(path_, std::ios::binary | std::ios::app) << text;
    }

    std::string problem() {
        return thrownBy<Failure>([this] { JobFile file(path_); });
    }

    fs::path folder_;
    fs::path path_ = folder_ / "lot12.cqjob";
    Job job_;
};

TEST_F(JobFiles, KeepWhatIsAppended) {
    JobFile file(path_);
    JobMeasurement standard = measurement(true, "Master \"7\"\n");
    standard.entry.record = recordOf(rampSpectrum());
    standard.entry.time = "2026-05-01T10:00:00Z";
    standard.instrument = {"VIRTUAL-31", "0001", "FW 1.0"};
    standard.calibrationAge = 90.5;
    standard.averaged = 3;
    standard.spread = 0.125;
    EXPECT_EQ(file.append(measurementEvent(standard)), 2U);
    file.append(measurementEvent(trialOf(2, "12-1")));
    file.append(remarkEvent("streaks", 3));
    file.append(remarkEvent("a new lamp", std::nullopt));
    file.append(tolerancesEvent({limitOf("dE00<=2@A", false)}));

    const JobFile readBack(path_);
    const Job& job = readBack.job();
    EXPECT_EQ(job.lastNumber, 6U);
    EXPECT_EQ(job.operatorName, "Nachtschicht ü");
    EXPECT_EQ(job.viewing.illuminants, (std::vector<std::int32_t>{IlluminantD65, IlluminantA}));
    EXPECT_EQ(job.limits, std::vector{limitOf("dE00<=2@A", false)});
    const JobMeasurement& read = job.measurements.at(0);
    EXPECT_EQ(read.entry.name, standard.entry.name);
    EXPECT_EQ(read.entry.time, standard.entry.time);
    EXPECT_EQ(read.entry.spectrum, standard.entry.spectrum);
    EXPECT_TRUE(read.entry.lab.has_value());
    EXPECT_EQ(read.entry.record->bytes[70], standard.entry.record->bytes[70]);
    EXPECT_EQ(read.instrument, standard.instrument);
    EXPECT_EQ(read.calibrationAge, 90.5);
    EXPECT_EQ(read.averaged, 3U);
    EXPECT_EQ(read.spread, 0.125);
    EXPECT_EQ(job.standardOf(job.measurements.at(1)), &read);
    EXPECT_EQ(job.measurements.at(1).remarks, std::vector<std::string>{"streaks"});
    EXPECT_EQ(job.remarks.at(0).text, "a new lamp");
    EXPECT_EQ(job.verdictOn(job.measurements.at(1))->grade, Grade::pass);
}

TEST_F(JobFiles, StrikeOutAndEraseNothing) {
    JobFile file(path_);
    file.append(measurementEvent(measurement(true, "one")));
    file.append(measurementEvent(measurement(true, "two")));
    file.append(measurementEvent(trialOf(3, file.job().nextName(false))));
    EXPECT_EQ(file.job().currentStandard()->entry.name, "two");
    EXPECT_EQ(file.job().nextName(false), "trial 2");
    file.append(struckOutEvent(3));
    EXPECT_EQ(file.job().currentStandard()->entry.name, "one");
    EXPECT_EQ(file.job().last()->entry.name, "trial 1");
    EXPECT_EQ(file.job().verdictOn(file.job().measurements.at(2)), std::nullopt);
    EXPECT_EQ(file.job().measurements.size(), 3U);
    EXPECT_THAT(thrownBy<Failure>([&] { file.append(struckOutEvent(3)); }),
                HasSubstr("struck out already"));
    EXPECT_EQ(file.job().lastNumber, 5U);
}

TEST_F(JobFiles, KnowTheCalibrationOfAnInstrument) {
    JobFile file(path_);
    file.append(calibratedEvent({"V", "1", "old firmware"}, "white"));
    EXPECT_EQ(file.calibrationOf({"V", "2", ""}), "");
    EXPECT_EQ(file.calibrationAgeOf({"V", "2", ""}), std::nullopt);
    EXPECT_LE(file.calibrationAgeOf({"V", "1", "new firmware"}).value(), 60);
    EXPECT_EQ(secondsOf("2023-11-14T22:13:20Z"), 1'700'000'000);
    EXPECT_EQ(secondsOf("2023-02-30T22:13:20Z"), std::nullopt);
}

TEST_F(JobFiles, LoseATornLastLineAlone) {
    JobFile file(path_);
    file.append(measurementEvent(measurement(true, "whole")));
    const std::string whole = readFile(path_);
    const std::string line = whole.substr(whole.find('\n') + 1);
    for (const std::size_t length : {std::size_t{1}, std::size_t{40}, line.size() - 1}) {
        fs::resize_file(path_, whole.size());
        writeRaw(line.substr(0, length));
        JobFile reopened(path_);
        EXPECT_EQ(reopened.job().lastNumber, 2U);
        EXPECT_GT(reopened.tornBytes(), 0U);
        reopened.append(remarkEvent("after", std::nullopt));
        EXPECT_THAT(reopened.repair(), HasSubstr("cut off"));
        EXPECT_EQ(readFile(path_).substr(0, whole.size()), whole);
        EXPECT_EQ(problem(), "");
        reopened.append(remarkEvent("again", std::nullopt));
        EXPECT_EQ(reopened.repair(), "");
    }
}

TEST_F(JobFiles, AreNotWrittenToWhenALineIsWrong) {
    JobFile file(path_);
    const std::string head = R"({"number":2,"time":"2026-05-01T10:00:00Z","event":)";
    const std::pair<std::string, const char*> kLines[] = {
        {"", "not JSON"},
        {"[1]", "must be an object"},
        {head, "not JSON"},
        {R"({"number":3,"time":"2026-05-01T10:00:00Z","event":"remark","text":"x"})",
         "\"number\" is not 2"},
        {R"({"number":2,"time":"today","event":"remark","text":"x"})", "\"time\""},
        {head + R"("other"})", "no event 'other'"},
        {head + R"("created","format":"cq job"})", "there already"},
        {head + R"("remark","text":7})", "\"text\" must be a text"},
        {head + R"("struckOut","measurement":1})", "\"measurement\" is not the number"},
        {head + R"("tolerances","tolerances":["dX<=1"]})", "dX"},
        {head + R"("measurement","kind":"trial","name":"t"})", "neither"},
        {head +
             R"("measurement","kind":"trial","name":"t","lab":{"L":5,"a":0,"b":0},"standard":1})",
         "\"standard\""},
        {head + R"("remark","text":")" + "\xFF\"}", "not JSON"},
    };
    const auto size = fs::file_size(path_);
    for (const auto& [line, why] : kLines) {
        fs::resize_file(path_, size);
        writeRaw(line + "\n" + head + "\n");
        const std::string before = readFile(path_);
        EXPECT_THAT(problem(), testing::AllOf(HasSubstr("lot12.cqjob line 2: "), HasSubstr(why)));
        EXPECT_THAT(thrownBy<Failure>([&] { file.append(remarkEvent("x", std::nullopt)); }),
                    HasSubstr("line 2"));
        EXPECT_EQ(readFile(path_), before);
    }
}

TEST_F(JobFiles, AreToldFromOtherFiles) {
    const auto problemOf = [&](const std::string& content) {
        std::ofstream(path_, std::ios::binary) << content;
        return problem();
    };
    EXPECT_THAT(problemOf(""), HasSubstr("is empty"));
    EXPECT_THAT(problemOf("{\"entries\":[]}"), HasSubstr("is no job"));
    EXPECT_THAT(problemOf("\x7F"
                          "ELF\n\0\n"),
                HasSubstr("is no job: line 1"));
    EXPECT_THAT(problemOf(R"({"number":1,"time":"2026-05-01T10:00:00Z","event":"created",)"
                          R"("format":"cq job","version":2})"
                          "\n"),
                HasSubstr("another version"));
    EXPECT_THAT(thrownBy<Failure>([&] { JobFile file(folder_); }), HasSubstr("a folder"));
    EXPECT_THAT(thrownBy<Failure>([&] { JobFile file(folder_ / "none"); }),
                HasSubstr("cannot read"));
    EXPECT_THAT(thrownBy<Failure>([&] { JobFile::create(path_, job_); }), HasSubstr("already"));
}

TEST_F(JobFiles, TakeInWhatOthersAppend) {
    JobFile mine(path_);
    JobFile other(path_);
    other.append(measurementEvent(measurement(true, "theirs")));
    std::vector<std::string> told;
    mine.refresh([&](const Json& event) { told.push_back(event.at("name")); });
    mine.refresh([&](const Json&) { told.push_back("twice"); });
    EXPECT_EQ(told, std::vector<std::string>{"theirs"});
    other.append(measurementEvent(measurement(true, "standard 3")));
    mine.append(
        [](const Job& job) { return measurementEvent(measurement(true, job.nextName(true))); });
    EXPECT_EQ(mine.job().measurements.back().entry.name, "standard 4");
    fs::resize_file(path_, 30);
    EXPECT_THAT(thrownBy<Failure>([&] { mine.refresh(); }), HasSubstr("shorter"));
}

#ifndef _WIN32
/// Appends for ever, and tells the number of each event once it is written.
[[noreturn]] void appendForEver(const fs::path& path, const JobMeasurement& trial, int told) {
    JobFile file(path);
    for (;;) {
        const std::uint64_t number = file.append(measurementEvent(trial));
        if (::write(told, &number, sizeof number) != sizeof number) {
            std::_Exit(1);
        }
    }
}

// Two programs append, and both are killed at any moment.
TEST_F(JobFiles, HoldAllThatWasToldBeforeAKill) {
    std::mt19937 random(12);
    std::uniform_int_distribution<int> microseconds(500, 10'000);
    std::uint64_t toldEvents = 0;
    for (int round = 0; round < cqtest::roundsOr(8); ++round) {
        int told[2];
        ASSERT_EQ(::pipe(told), 0);
        const JobMeasurement trial = measurement(false, "round " + std::to_string(round));
        fs::remove(path_);
        JobFile::create(path_, job_);
        pid_t writers[2];
        for (pid_t& writer : writers) {
            writer = ::fork();
            if (writer == 0) {
                appendForEver(path_, trial, told[1]);
            }
        }
        ::close(told[1]);
        for (const pid_t writer : writers) {
            std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random)));
            ::kill(writer, SIGKILL);
            ::waitpid(writer, nullptr, 0);
        }
        JobFile file(path_);
        file.append(remarkEvent("after the kill", std::nullopt));
        EXPECT_EQ(problem(), "");
        for (std::uint64_t number; ::read(told[0], &number, sizeof number) == sizeof number;) {
            ++toldEvents;
            ASSERT_NE(file.job().find(number), nullptr) << number;
            EXPECT_EQ(file.job().find(number)->entry.name, trial.entry.name);
        }
        ::close(told[0]);
    }
    EXPECT_GT(toldEvents, 0U);
    RecordProperty("told", std::to_string(toldEvents));
}
#endif

}  // namespace
}  // namespace cqtool

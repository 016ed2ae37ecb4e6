#include <ctime>
#include <memory>
#include <ostream>

#include "commands/Commands.h"
#include "commands/Judge.h"
#include "commands/MeasurementView.h"
#include "commands/Options.h"
#include "Failure.h"
#include "instrument/ButtonListener.h"
#include "system/Files.h"
#include "text/Numbers.h"
#include "text/Text.h"
#include "text/Time.h"

namespace cqtool {
namespace {

constexpr std::uint32_t kMostAwaited = 999'999;

struct MonitorOptions {
    std::uint32_t count = 0;  ///< 0: until Ctrl-C
    std::string file;
    std::string format;
    WriteOptions writing;
    std::string recordLayout;
    JudgeOptions judging;
    ConnectionOptions connection;
    OutputOptions output;
    ViewOptions view;
};

std::string timeOfDay() {
    const std::time_t now = std::time(nullptr);
    char text[16];
    std::strftime(text, sizeof text, "%H:%M:%S", std::localtime(&now));
    return text;
}

/// Takes measurements into the job and the file as they arrive, and shows each beside its standard.
class Monitoring {
  public:
    Monitoring(const MonitorOptions& options, const Environment& environment)
        : options_(options),
          environment_(environment),
          layout_(loadRecordLayout(options.recordLayout)),
          judge_(options.judging, options.view.viewing, layout_, true, environment.notes),
          view_(judge_.viewing(), *options.view.space, layout_),
          palette_(options.output.palette()) {}

    void run() {
        checkFile();
        ButtonListener listener(options_.connection, environment_.interrupt, environment_.notes,
                                [this](Connection& connection) { use(connection); });
        while (options_.count == 0 || number_ < options_.count) {
            const auto pressed = listener.next(judge_.status());
            if (!pressed) {
                break;
            }
            take(*pressed);
            if (!environment_.out) {
                // The reader is gone; Program reports it.
                break;
            }
        }
        judge_.check();
    }

  private:
    bool isSaved() const { return !options_.file.empty(); }

    void checkFile() const {
        if (!isSaved()) {
            return;
        }
        exchangeFormatFor(options_.file, options_.format);
        std::error_code error;
        // Measurements of an earlier run, perhaps.
        if (isStream(options_.file) || std::filesystem::exists(options_.file, error)) {
            throw UsageError(options_.file + (isStream(options_.file)
                                                  ? " is no file to write again and again"
                                                  : " is there already; name a new file"));
        }
    }

    void use(Connection& connection) {
        judge_.use(connection);
        if (isSaved() && saved_.title.empty()) {
            saved_ = recordSetOf(connection.deviceInfo(), "Measurements", view_.viewing());
        }
        if (const std::string text = judge_.jobText(); !text.empty()) {
            environment_.notes << text << '\n';
        }
    }

    void take(const Pressed& pressed) {
        const Measurement measurement = view_.of(pressed.record, pressed.isStandard);
        RecordEntry entry =
            entryOf(pressed.record, number_, pressed.isStandard, layout_, view_.viewing());
        entry.time = entry.time.empty() ? nowText() : entry.time;
        const Judged judged = judge_.take(std::move(entry));
        ++number_;
        if (isSaved()) {
            saved_.entries.push_back(judged.entry);
            writeFile(options_.file,
                      writtenRecords(saved_, exchangeFormatFor(options_.file, options_.format),
                                     options_.writing));
        }
        if (options_.output.json) {
            printJson(measurement, judged);
        } else {
            print(measurement, judged);
        }
    }

    void printJson(const Measurement& measurement, const Judged& judged) {
        JsonObject json{{"number", number_}, {"time", nowText()}};
        json.update(view_.json(measurement));  // the instrument's own time, if it tells
        addJudged(json, judged);
        environment_.out << lineOfJson(json) << std::flush;
    }

    void print(const Measurement& measurement, const Judged& judged) {
        const auto lines = linesOf(judged, palette_, false);
        std::ostream& out = environment_.out;
        out << timeOfDay() << "  " << (measurement.isStandard ? "standard" : "trial   ") << "  "
            << (judged.job ? shown(judged.entry.name) + "  " : std::string())
            << (measurement.spectrum ? view_.line(measurement, palette_) : measurement.problem);
        if (lines.size() == 1) {
            out << "  " << lines.front();
        } else if (measurement.spectrum && !judged.problem.empty()) {
            out << "  not compared: " << judged.problem;
        } else if (judged.job && !measurement.isStandard && lines.empty()) {
            out << "  the job has no standard yet";
        }
        out << '\n';
        for (std::size_t i = 0; lines.size() > 1 && i < lines.size(); ++i) {
            out << lines[i] << '\n';
        }
        out << std::flush;
    }

    const MonitorOptions& options_;
    const Environment& environment_;
    RecordLayout layout_;
    Judge judge_;
    MeasurementView view_;
    Palette palette_;
    RecordSet saved_;
    std::uint32_t number_ = 0;
};

std::uint32_t countOf(const std::string& text) {
    return wholeNumberOf(text, "--count", 1, kMostAwaited);
}

}  // namespace

void addMonitor(Program& program, const Environment& environment) {
    CommandLine line =
        program.add("monitor", "Show and judge measurements made with the instrument's button");
    const auto options = std::make_shared<MonitorOptions>();
    addNamed(line, {"--count", "N", "End after this many measurements (default: at Ctrl-C)"},
             options->count, countOf);
    line.addOption({"--output", "FILE",
                    "Save what comes to this new file, which is whole after each measurement"},
                   options->file);
    line.addOption(
        {"--format", "NAME", exchangeFormatNames() + " (default: what the file's extension means)"},
        options->format);
    addDecimalOption(line, options->writing);
    addOptions(line, options->view);
    addOptions(line, options->judging);
    addRecordLayoutOption(line, options->recordLayout);
    addOptions(line, options->connection);
    addOptions(line, options->output);
    line.setExamples(
        "When the instrument or its cable has gone, it waits for it to come back.\n\n"
        "Examples:\n"
        "  cq monitor --port /dev/ttyACM0 --output day.csv\n"
        "  cq monitor --job lot12.cqjob\n"
        "  cq monitor --count 10 --json --against red.csv --tolerance \"dE00<=1.0\" --check\n"
        "  cq monitor --virtual-options \"--calibrated --press-every 1:standard\"");
    line.setAction([options, environment] { Monitoring(*options, environment).run(); });
}

}  // namespace cqtool

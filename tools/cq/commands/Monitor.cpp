#include <chrono>
#include <condition_variable>
#include <ctime>
#include <deque>
#include <memory>
#include <mutex>
#include <ostream>

#include "commands/Commands.h"
#include "commands/MeasurementView.h"
#include "commands/Options.h"
#include "Failure.h"
#include "system/Terminal.h"
#include "text/Numbers.h"
#include "text/Time.h"

namespace cqtool {
namespace {

constexpr std::chrono::seconds kCheckInterval{1};

constexpr std::uint32_t kMostAwaited = 999'999;

struct MonitorOptions {
    std::uint32_t count = 0;  ///< 0: until Ctrl-C
    DifferenceFormula formula;
    std::string recordLayout;
    ConnectionOptions connection;
    OutputOptions output;
    ViewOptions view;
};

struct Pressed {
    bool isStandard;
    CqMeasurementRecord record;
};

/// Passes measurements from the library's thread to the command's.
class PressedQueue {
  public:
    explicit PressedQueue(const Connection& connection, Interrupt& interrupt)
        : connection_(connection), interrupt_(interrupt), wake_(interrupt.onInterrupt([this] {
              const std::scoped_lock lock(mutex_);
              changed_.notify_all();
          })) {
        connection_.check(cqSetMeasurementResultReceivedCallback(connection_.handle(),
                                                                 &PressedQueue::receive, this),
                          Operation::listenForMeasurements);
    }
    ~PressedQueue() {
        cqSetMeasurementResultReceivedCallback(connection_.handle(), nullptr, nullptr);
    }
    PressedQueue(const PressedQueue&) = delete;
    PressedQueue& operator=(const PressedQueue&) = delete;

    /// The next measurement; nothing after Ctrl-C. Throws Failure if the port is gone or the
    /// instrument has ended the connection.
    std::optional<Pressed> next() {
        std::unique_lock lock(mutex_);
        const auto isWoken = [this] { return !waiting_.empty() || interrupt_.happened(); };
        while (!changed_.wait_for(lock, kCheckInterval, isWoken)) {
            // The lock must be free for a measurement that arrives meanwhile, or the reply would
            // wait for it.
            lock.unlock();
            checkConnection();
            lock.lock();
        }
        if (waiting_.empty()) {
            return std::nullopt;
        }
        const Pressed pressed = waiting_.front();
        waiting_.pop_front();
        return pressed;
    }

  private:
    void checkConnection() const {
        if (!portExists(connection_.portName())) {
            cqtool::check(CQ_DEVICE_IS_CLOSED, Operation::listenForMeasurements);
        }
        // Over the cable replies are recognised by their operation; over the air a measurement that
        // arrives at this moment would be taken for the reply.
        if (connection_.isWireless()) {
            return;
        }
        std::uint32_t ignored = 0;
        const std::uint32_t code = cqGetTotalStandards(connection_.handle(), &ignored);
        // An instrument that is busy or slow is not gone.
        if ((code == CQ_NO_SESSION || code == CQ_DEVICE_IS_CLOSED) && !interrupt_.happened()) {
            cqtool::check(code, Operation::listenForMeasurements);
        }
    }

    static void receive(bool isStandard, const CqMeasurementRecord* record, void* user) {
        auto& queue = *static_cast<PressedQueue*>(user);
        const std::scoped_lock lock(queue.mutex_);
        queue.waiting_.push_back({isStandard, *record});
        queue.changed_.notify_all();
    }

    const Connection& connection_;
    Interrupt& interrupt_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Pressed> waiting_;
    std::unique_ptr<Interrupt::Registration> wake_;
};

std::string timeOfDay() {
    const std::time_t now = std::time(nullptr);
    char text[16];
    std::strftime(text, sizeof text, "%H:%M:%S", std::localtime(&now));
    return text;
}

/// Prints measurements as they arrive, each trial with its difference from the preceding standard.
class Reporter {
  public:
    Reporter(const MonitorOptions& options, const Environment& environment)
        : environment_(environment),
          view_(options.view.viewing, *options.view.space, loadRecordLayout(options.recordLayout)),
          palette_(options.output.palette()),
          formula_(options.formula),
          isJson_(options.output.json) {}

    void report(const Pressed& pressed) {
        const Measurement measurement = view_.of(pressed.record, pressed.isStandard);
        if (pressed.isStandard) {
            standard_ = measurement;
        }
        const bool isCompared =
            !pressed.isStandard && standard_ && standard_->spectrum && measurement.spectrum;
        ++number_;
        if (isJson_) {
            Json json{{"number", number_}, {"time", nowText()}};
            json.update(view_.json(measurement));  // the instrument's own time, if it tells
            if (isCompared) {
                addDifference(json, formula_, standard_->lab, measurement.lab);
            }
            environment_.out << lineOfJson(json) << std::flush;
            return;
        }
        environment_.out << timeOfDay() << "  " << (pressed.isStandard ? "standard" : "trial   ")
                         << "  "
                         << (measurement.spectrum ? view_.line(measurement, palette_)
                                                  : measurement.problem)
                         << (isCompared ? differenceText(measurement) : std::string()) << std::endl;
    }

  private:
    std::string differenceText(const Measurement& trial) const {
        return "  " + symbolOf(formula_) + ' ' +
               fixed(difference(formula_, standard_->lab, trial.lab), 2);
    }

    const Environment& environment_;
    MeasurementView view_;
    Palette palette_;
    DifferenceFormula formula_;
    bool isJson_;
    std::uint64_t number_ = 0;
    std::optional<Measurement> standard_;
};

void runMonitor(const MonitorOptions& options, const Environment& environment) {
    Reporter reporter(options, environment);
    const Connection connection(options.connection, environment.interrupt);
    PressedQueue queue(connection, environment.interrupt);
    environment.notes << "listening on " << connection.portName()
                      << "; press the instrument's button, Ctrl-C ends\n";
    for (std::uint32_t count = 0; options.count == 0 || count < options.count; ++count) {
        const auto pressed = queue.next();
        if (!pressed) {
            break;
        }
        reporter.report(*pressed);
        if (!environment.out) {
            // The reader is gone; Program reports it.
            break;
        }
    }
}

std::uint32_t countOf(const std::string& text) {
    return wholeNumberOf(text, "--count", 1, kMostAwaited);
}

}  // namespace

void addMonitor(Program& program, const Environment& environment) {
    CommandLine line =
        program.add("monitor", "Show measurements made with the instrument's button, until Ctrl-C");
    const auto options = std::make_shared<MonitorOptions>();
    addNamed(line, {"--count", "N", "End after this many measurements"}, options->count, countOf);
    addOptions(line, options->view);
    addFormulaOption(line, options->formula);
    addRecordLayoutOption(line, options->recordLayout);
    addOptions(line, options->connection);
    addOptions(line, options->output);
    line.setExamples(
        "Examples:\n"
        "  cq monitor --port /dev/ttyACM0\n"
        "  cq monitor --count 10 --json\n"
        "  cq monitor --virtual-options \"--calibrated --press-every 1:standard\"");
    line.setAction([options, environment] { runMonitor(*options, environment); });
}

}  // namespace cqtool

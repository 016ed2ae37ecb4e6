#include <algorithm>
#include <cstring>
#include <memory>
#include <ostream>

#include "commands/Commands.h"
#include "commands/Confirmation.h"
#include "commands/Options.h"
#include "instrument/Backup.h"
#include "system/Files.h"
#include "terminal/StatusLine.h"
#include "text/JsonObject.h"
#include "text/Text.h"

namespace cqtool {
namespace {

struct RestoreOptions {
    std::string file;
    bool isConfirmed = false;
    bool takesOther = false;
    ConnectionOptions connection;
    OutputOptions output;
};

/// What differs between a backup and the instrument.
struct RestorePlan {
    std::vector<CqMeasurementRecord> standards;
    std::map<std::uint8_t, std::uint8_t> parameters;
    std::optional<CqWhiteBoardParameter> whiteBoard;
    std::vector<std::string> remarks;  ///< what stays in the file, and why

    bool isEmpty() const { return standards.empty() && parameters.empty() && !whiteBoard; }

    /// "3 standards, 1 parameter and the white tile's values".
    std::string text() const {
        std::vector<std::string> parts;
        if (!standards.empty()) {
            parts.push_back(counted(standards.size(), "standards"));
        }
        if (!parameters.empty()) {
            parts.push_back(counted(parameters.size(), "parameters"));
        }
        if (whiteBoard) {
            parts.emplace_back("the white tile's values");
        }
        if (parts.size() < 2) {
            return parts.empty() ? "nothing" : parts.front();
        }
        const std::string last = parts.back();
        parts.pop_back();
        return joined(parts, ", ") + " and " + last;
    }
};

/// Model and serial number.
std::string deviceName(const CqDeviceInfo& info) {
    const std::string model = printableText(info.infoText3, sizeof info.infoText3);
    const std::string serial = printableText(info.infoText4, sizeof info.infoText4);
    return (model.empty() ? "an instrument" : model) + (serial.empty() ? "" : " " + serial);
}

/// \param isOther the backup is another instrument's.
RestorePlan planOf(const Backup& backup, const Backup& now, bool isOther) {
    RestorePlan plan;
    plan.standards = recordsMissing(backup.standards, now.standards);
    if (!backup.samples.empty()) {
        plan.remarks.push_back(counted(backup.samples.size(), "samples") +
                               (backup.samples.size() == 1 ? " stays" : " stay") +
                               " in the file: an instrument takes no samples back");
    }
    if (isOther) {
        plan.remarks.emplace_back(
            "parameters and white tile's values stay in the file: they are the other "
            "instrument's own");
        return plan;
    }
    if (now.isWireless) {
        plan.remarks.emplace_back(
            "parameters and white tile's values stay in the file: they are written only over the "
            "cable");
        return plan;
    }
    for (const auto& [number, value] : backup.parameters) {
        const auto found = now.parameters.find(number);
        if (found == now.parameters.end() || found->second != value) {
            plan.parameters[number] = value;
        }
    }
    const bool isSame =
        backup.whiteBoard && now.whiteBoard &&
        std::memcmp(&*backup.whiteBoard, &*now.whiteBoard, sizeof *backup.whiteBoard) == 0;
    if (backup.whiteBoard && backup.isWireless) {
        plan.remarks.emplace_back(
            "the white tile's values stay in the file: they were read wirelessly, not whole");
    } else if (backup.whiteBoard && !isSame) {
        plan.whiteBoard = backup.whiteBoard;
    }
    return plan;
}

/// Carries a plan out and reads back what it has written. A failure and Ctrl-C leave whole records
/// and values; the same command then writes the rest.
class Restorer {
  public:
    Restorer(Connection& connection, const RestorePlan& plan, const Environment& environment)
        : connection_(connection), plan_(plan), environment_(environment) {}

    void run() {
        const Connection::KeepOpen keepOpen(connection_);
        // The small things first: a full instrument must not keep them out.
        writeParameters();
        writeWhiteBoard();
        writeStandards();
    }

  private:
    static constexpr const char* kRepeat =
        "the same command writes what is still missing; what arrived is kept";

    void stopIf(bool isInterrupted, const std::string& arrived) {
        if (isInterrupted) {
            status_.clear();
            environment_.notes << "cq: " << arrived << "; " << kRepeat << '\n';
            throw Interrupted{};
        }
    }

    void writeParameters() {
        std::size_t done = 0;
        for (const auto& [number, value] : plan_.parameters) {
            stopIf(connection_.isInterrupted(), std::to_string(done) + " of " +
                                                    counted(plan_.parameters.size(), "parameters") +
                                                    " arrived");
            status_.progress("writing parameters", done++, plan_.parameters.size());
            check(cqSetMeasurementParameter(connection_.handle(), number, value),
                  Operation::writeParameter);
            std::uint32_t stored = 0;
            check(cqGetMeasurementParameter(connection_.handle(), number, &stored),
                  Operation::readParameter);
            if (stored != value) {
                throw Failure("the instrument holds " + std::to_string(stored) + " as parameter " +
                                  std::to_string(number) + ", not the backup's " +
                                  std::to_string(value),
                              "it may not accept this value now; nothing after it was written");
            }
        }
    }

    void writeWhiteBoard() {
        if (!plan_.whiteBoard) {
            return;
        }
        stopIf(connection_.isInterrupted(), "the parameters arrived");
        status_.progress("writing the white tile's values", 0, 1);
        check(cqSetWhiteBoardParameter(connection_.handle(), &*plan_.whiteBoard),
              Operation::writeWhiteBoard);
        CqWhiteBoardParameter stored{};
        check(cqGetWhiteBoardParameter(connection_.handle(), &stored), Operation::readWhiteBoard);
        if (std::memcmp(&stored, &*plan_.whiteBoard, sizeof stored) != 0) {
            throw Failure(
                "the instrument has not kept the white tile's values as they were written",
                "cq whiteboard get shows what it holds");
        }
    }

    void writeStandards() {
        if (plan_.standards.empty()) {
            return;
        }
        stopIf(connection_.isInterrupted(), "no standards arrived");
        Storage storage(connection_);
        const std::uint32_t first = storage.count({});
        const Change change =
            storage.write(plan_.standards, [this](std::size_t done, std::size_t total) {
                status_.progress("writing standards", done, total);
            });
        const std::string arrived = std::to_string(change.done) + " of " +
                                    counted(plan_.standards.size(), "standards") + " arrived";
        if (change.code != CQ_NO_ERROR) {
            throw Failure(failureText(change.code, Operation::writeStandards) + "; " + arrived,
                          advice(change.code, Operation::writeStandards) + "; " + kRepeat);
        }
        stopIf(change.isInterrupted, arrived);
        const auto stored =
            storage.read({}, first, change.done, [this](std::size_t done, std::size_t total) {
                status_.progress("reading back", done, total);
            });
        const std::size_t altered = recordsMissing(plan_.standards, stored).size();
        if (altered > 0) {
            throw Failure(counted(altered, "standards") + " of " +
                              std::to_string(plan_.standards.size()) +
                              " read back otherwise than written",
                          "cq standards list shows what is stored, from index " +
                              std::to_string(first) + " on");
        }
    }

    void check(std::uint32_t code, Operation operation) const {
        const std::uint32_t reason = connection_.reasonOf(code);
        if (reason != CQ_NO_ERROR) {
            throw Failure(failureText(reason, operation),
                          advice(reason, operation) + "; " + kRepeat);
        }
    }

    Connection& connection_;
    const RestorePlan& plan_;
    const Environment& environment_;
    StatusLine status_;
};

void checkRoom(const Storage& storage, const RestorePlan& plan) {
    const auto room = storage.room();
    if (room && plan.standards.size() > *room) {
        throw Failure("the instrument has room for " + counted(*room, "more standards") + ", " +
                          std::to_string(plan.standards.size()) +
                          " of the backup are missing; nothing was written",
                      "make room with cq standards delete");
    }
}

void report(const RestoreOptions& options, const Environment& environment, const std::string& port,
            const RestorePlan& plan) {
    if (options.output.json) {
        environment.out << pageOfJson({{"port", port},
                                       {"file", options.file},
                                       {"standards", plan.standards.size()},
                                       {"parameters", plan.parameters.size()},
                                       {"whiteBoard", plan.whiteBoard.has_value()},
                                       {"notRestored", plan.remarks}});
    } else if (plan.isEmpty()) {
        environment.out << "the instrument holds all of it already; nothing was written\n";
    } else {
        environment.out << plan.text() << " written and read back\n";
    }
}

void runRestore(const RestoreOptions& options, const Environment& environment) {
    const std::string source = sourceName(options.file);
    const Backup backup = backupOf(readFile(options.file), source);
    if (!options.isConfirmed) {
        requireTerminalToAsk("a restored instrument is not what it was");
    }
    Connection connection(options.connection, environment.interrupt);
    const std::string name = deviceName(connection.deviceInfo());
    const bool isOther = name != deviceName(backup.device);
    if (isOther && !options.takesOther) {
        throw Failure(shown(source) + " is a backup of " + deviceName(backup.device) +
                          ", this is " + name + "; nothing was written",
                      "connect that instrument; or write its standards, and nothing else, to this "
                      "one with --other-instrument");
    }
    RestorePlan plan;
    {
        StatusLine status;
        plan = planOf(
            backup,
            readSettings(connection,
                         [&status](const std::string& what, std::size_t done, std::size_t total) {
                             status.progress(what, done, total);
                         }),
            isOther);
    }
    checkRoom(Storage(connection), plan);
    for (const std::string& remark : plan.remarks) {
        environment.notes << "cq: " << remark << '\n';
    }
    if (!plan.isEmpty()) {
        if (!options.isConfirmed) {
            askForYes(environment, "This writes " + plan.text() + " to " + name + ".",
                      {"write", "nothing was written"});
        }
        Restorer(connection, plan, environment).run();
    }
    report(options, environment, connection.portName(), plan);
}

}  // namespace

void addRestore(Program& program, const Environment& environment) {
    CommandLine line = program.add("restore", "Write a backup back to the instrument");
    const auto options = std::make_shared<RestoreOptions>();
    line.addOption({.name = "file",
                    .valueName = "FILE",
                    .description = "A file that cq backup has written",
                    .isRequired = true},
                   options->file);
    line.addFlag({"--yes", "", "Do not ask; required without a terminal"}, options->isConfirmed);
    line.addFlag({"--other-instrument", "",
                  "Write the standards of another instrument's backup to this one"},
                 options->takesOther);
    addOptions(line, options->connection);
    addOptions(line, options->output);
    line.setExamples(
        "Standards that the instrument does not hold are appended to those that it holds;\n"
        "parameters and the white tile's values are written where they differ. Everything is read\n"
        "back. No record is deleted or replaced, and a restore that was broken off is completed "
        "by\n"
        "the same command. Instruments take no samples back.\n\n"
        "Examples:\n"
        "  cq restore instrument.json\n"
        "  cq restore old.json --other-instrument --port COM5 --yes");
    line.setAction([options, environment] { runRestore(*options, environment); });
}

}  // namespace cqtool

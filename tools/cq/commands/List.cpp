#include <algorithm>
#include <iterator>
#include <memory>
#include <ostream>

#include "commands/Commands.h"
#include "commands/Options.h"
#include "commands/PortList.h"
#include "Failure.h"
#include "instrument/Connection.h"
#include "instrument/Survey.h"
#include "terminal/StatusLine.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr double kAnswerTimeout = 5;  // seconds

struct ListOptions {
    std::vector<std::string> ports;
    bool asksInstruments = false;
    bool scans = false;
    OutputOptions output;
};

std::vector<ListedPort> portsOf(const ListOptions& options) {
    std::vector<ListedPort> ports;
    if (options.ports.empty()) {
        for (PortInfo& port : listPorts()) {
            ports.push_back({std::move(port), {}, {}, {}});
        }
    }
    for (const std::string& name : options.ports) {
        ports.push_back({describePort(name), {}, {}, {}});
    }
    return ports;
}

/// The ports to ask as an instrument's or an adapter's. A port of unknown kind is asked if the user
/// has named it, even if another program uses it: that program may be what serves the port.
std::vector<ListedPort*> portsToAsk(std::vector<ListedPort>& ports, PortKind kind, bool areNamed) {
    std::vector<ListedPort*> asked;
    for (ListedPort& listed : ports) {
        const bool isUnknown = areNamed && listed.port.kind == PortKind::other;
        if (listed.port.kind != kind && !isUnknown) {
            continue;
        }
        const std::string obstacle = obstacleOf(listed.port);
        if (obstacle.empty() || (isUnknown && listed.port.isAccessible)) {
            asked.push_back(&listed);
        } else {
            listed.problem = "not asked: " + obstacle;
        }
    }
    return asked;
}

void scan(const std::vector<ListedPort*>& adapters, Interrupt& interrupt) {
    for (ListedPort* listed : adapters) {
        try {
            listed->slaves = scanSlaves(listed->port.name);
        } catch (const Failure& failure) {
            listed->problem = failure.what();
        }
        // An aborted scan would leave the adapter scanning.
        interrupt.throwIfHappened();
    }
}

void print(const ListOptions& options, const Environment& environment,
           const std::vector<ListedPort>& ports) {
    if (options.output.json) {
        environment.out << pageOfJson({{"ports", portsJson(ports)}});
        return;
    }
    if (ports.empty()) {
        environment.out << "this machine has no serial port\n";
        environment.notes << "plug an instrument or an adapter in, and list again\n";
        return;
    }
    for (const std::string& line : portLines(ports, options.output.palette())) {
        environment.out << line << '\n';
    }
}

/// Asks the instruments and prints. A port that never answers keeps its thread inside the library;
/// the process then ends here.
void askAndPrint(const ListOptions& options, const Environment& environment,
                 std::vector<ListedPort>& ports) {
    const auto instruments = portsToAsk(ports, PortKind::instrument, !options.ports.empty());
    std::vector<std::string> names;
    std::transform(instruments.begin(), instruments.end(), std::back_inserter(names),
                   [](const ListedPort* listed) { return listed->port.name; });
    Survey survey(names);
    {
        const StatusLine status("asking " + counted(names.size(), "ports"));
        const auto answers = survey.wait(kAnswerTimeout, environment.interrupt);
        for (std::size_t i = 0; i < answers.size(); ++i) {
            instruments[i]->info = answers[i].info;
            instruments[i]->problem = answers[i].problem;
        }
    }
    const bool isInterrupted = environment.interrupt.happened();
    if (!isInterrupted) {
        print(options, environment, ports);
    }
    if (survey.isStuck()) {
        endProcess(isInterrupted ? ExitStatus::interrupted : ExitStatus::success);
    }
    environment.interrupt.throwIfHappened();
}

void runList(const ListOptions& options, const Environment& environment) {
    auto ports = portsOf(options);
    if (options.scans) {
        scan(portsToAsk(ports, PortKind::adapter, !options.ports.empty()), environment.interrupt);
    }
    if (options.asksInstruments) {
        askAndPrint(options, environment, ports);
    } else {
        print(options, environment, ports);
    }
}

}  // namespace

void addList(Program& program, const Environment& environment) {
    CommandLine line = program.add(
        "list", "List the serial ports: instruments, adapters, and the programs that use them");
    const auto options = std::make_shared<ListOptions>();
    line.addArguments({"ports", "PORT", "Ports to examine, instead of those found"},
                      options->ports);
    line.addFlag({"--ask", "", "Open each instrument and show its device information"},
                 options->asksInstruments);
    line.addFlag({"--scan", "", "Scan with each adapter for wireless instruments"}, options->scans);
    addOptions(line, options->output);
    line.setExamples(
        "Without --ask and --scan no port is opened. A port that another program holds is not\n"
        "opened.\n\n"
        "Examples:\n"
        "  cq list\n"
        "  cq list --ask --scan\n"
        "  cq list /dev/ttyUSB0 --scan --json");
    line.setAction([options, environment] { runList(*options, environment); });
}

}  // namespace cqtool

#include <memory>
#include <ostream>

#include "commands/Commands.h"
#include "commands/Options.h"
#include "commands/SlaveList.h"
#include "Failure.h"
#include "text/Text.h"

namespace cqtool {
namespace {

struct ScanOptions {
    ConnectionOptions connection;
    OutputOptions output;
};

void printText(const ScanOptions& options, const Environment& environment,
               const std::string& adapter, const std::vector<Slave>& slaves) {
    environment.out << "adapter  " << shown(adapter) << '\n';
    if (slaves.empty()) {
        environment.out << "no wireless instrument is within reach\n";
        environment.notes << "wake the instrument, bring it near the adapter and scan again\n";
        return;
    }
    environment.out << '\n';
    for (const std::string& line : slaveLines(slaves, options.output.palette())) {
        environment.out << line << '\n';
    }
}

void runScan(const ScanOptions& options, const Environment& environment) {
    if (options.connection.adapter.empty() && !options.connection.useVirtual) {
        throw UsageError(
            "name the adapter's port with --adapter, or use a virtual one with --virtual");
    }
    startDebugLog(options.connection);
    const auto virtualAdapter = startVirtual(options.connection);
    const std::string adapter =
        virtualAdapter ? virtualAdapter->portName() : options.connection.adapter;
    // An aborted scan would leave the adapter scanning, so Ctrl-C takes effect at its end.
    const std::vector<Slave> slaves = scanSlaves(adapter);
    environment.interrupt.throwIfHappened();
    if (options.output.json) {
        environment.out << pageOfJson({{"adapter", adapter}, {"slaves", slavesJson(slaves)}});
    } else {
        printText(options, environment, adapter, slaves);
    }
}

}  // namespace

void addScan(Program& program, const Environment& environment) {
    CommandLine line =
        program.add("scan", "List the wireless instruments within reach of the adapter");
    const auto options = std::make_shared<ScanOptions>();
    options->connection.isWireless = true;
    addAdapterOptions(line, options->connection);
    addOptions(line, options->output);
    line.setExamples(
        "Takes 2 to 5 s. Other commands take a listed address as --slave.\n\n"
        "Examples:\n"
        "  cq scan --adapter COM7\n"
        "  cq scan --adapter /dev/ttyUSB0 --json\n"
        "  cq scan --virtual");
    line.setAction([options, environment] { runScan(*options, environment); });
}

}  // namespace cqtool

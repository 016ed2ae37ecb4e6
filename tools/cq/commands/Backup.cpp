#include "instrument/Backup.h"

#include <memory>
#include <ostream>

#include "commands/Commands.h"
#include "commands/Options.h"
#include "system/Files.h"
#include "terminal/StatusLine.h"
#include "text/JsonObject.h"
#include "text/Text.h"

namespace cqtool {
namespace {

struct BackupOptions {
    std::string file;
    ConnectionOptions connection;
    OutputOptions output;
};

void runBackup(const BackupOptions& options, const Environment& environment) {
    checkOutput(options.file, options.output, {});
    Connection connection(options.connection, environment.interrupt);
    Backup backup;
    {
        StatusLine status;
        const auto progress = [&status](const std::string& what, std::size_t done,
                                        std::size_t total) { status.progress(what, done, total); };
        backup = readSettings(connection, progress);
        backup.samples = readSamples(connection, backup.standards.size(), progress);
    }
    writeFile(options.file, textOf(backup));
    for (const std::string& missing : backup.missing) {
        environment.notes << "cq: not in the backup: " << missing << '\n';
    }
    if (options.output.json) {
        environment.out << pageOfJson({{"port", connection.portName()},
                                       {"file", options.file},
                                       {"standards", backup.standards.size()},
                                       {"samples", backup.samples.size()},
                                       {"parameters", backup.parameters.size()},
                                       {"whiteBoard", backup.whiteBoard.has_value()},
                                       {"missing", backup.missing}});
    } else {
        environment.besides(options.file)
            << counted(backup.standards.size(), "standards") << ", "
            << counted(backup.samples.size(), "samples") << ", "
            << counted(backup.parameters.size(), "parameters")
            << (backup.whiteBoard ? " and the white tile's values" : "") << " written to "
            << shown(sourceName(options.file)) << '\n';
    }
}

}  // namespace

void addBackup(Program& program, const Environment& environment) {
    CommandLine line = program.add("backup", "Write all that the instrument stores to a file");
    const auto options = std::make_shared<BackupOptions>();
    line.addOption({.name = "file",
                    .valueName = "FILE",
                    .description = "The file to write (JSON); '-' writes to standard output",
                    .isRequired = true},
                   options->file);
    addOptions(line, options->connection);
    addOptions(line, options->output);
    line.setExamples(
        "Standards, samples, the measurement parameters, the white tile's values and the device\n"
        "information. The file is written once everything has arrived; until then an existing\n"
        "file is kept. cq restore writes back what an instrument takes.\n\n"
        "Examples:\n"
        "  cq backup instrument.json\n"
        "  cq backup instrument.json --wireless");
    line.setAction([options, environment] { runBackup(*options, environment); });
}

}  // namespace cqtool

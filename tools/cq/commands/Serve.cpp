#include "commands/Serve.h"

#include <ostream>
#include <system_error>

#include "system/ChildProcess.h"

namespace cqtool {
namespace {

constexpr const char* kStation = "cq-station";

}  // namespace

void addServe(Program& program) {
    CommandLine line = program.add(
        "serve", "Own instruments, write a job, and show a page (cq serve --help: its options)");
    line.setExamples(
        "Examples:\n"
        "  cq serve --virtual --open\n"
        "  cq serve --instrument /dev/ttyACM0 --job lot12.cqjob\n"
        "  cq serve --help");
    line.setAction([] {});
}

ExitStatus serveInstead(int argc, char** argv, std::ostream& notes) {
    try {
        return static_cast<ExitStatus>(
            runInstead(ChildProcess::locate(kStation), {argv + 2, argv + argc}));
    } catch (const std::system_error& error) {
        notes << "cq: " << kStation << " cannot be started: " << error.code().message()
              << "\nit is a program of its own: install it, or build its target, so that it lies "
                 "beside cq or on the search path\n";
        return ExitStatus::failed;
    }
}

}  // namespace cqtool

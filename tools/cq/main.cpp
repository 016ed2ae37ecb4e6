#include <iostream>
#include <string_view>

#include "commands/Commands.h"
#include "commands/Serve.h"
#include "cqapi/CQApi.h"
#include "system/Terminal.h"

namespace {

constexpr const char* kHelpEnd =
    "Examples:\n"
    "  cq demo                      a virtual instrument measures a chart of 24 patches\n"
    "  cq info                      find the instrument and show its device information\n"
    "  cq calibrate white           then cq calibrate black, then cq measure standard\n"
    "  cq measure trial --json      measure, and print JSON\n"
    "  cq scan --adapter COM7       list the wireless instruments within reach\n"
    "  cq info --wireless           the one with the strongest signal\n"
    "  cq color --from lab 50 20 30 --to srgb\n"
    "\n"
    "cq help COMMAND, or cq COMMAND --help, shows a command's options. Exit status: 0 done,\n"
    "1 failed or refused by the instrument, 2 wrong command line, 3 a trial out of tolerance\n"
    "(with --check), 130 ended by Ctrl-C.";

}  // namespace

int main(int argc, char** argv) {
    cqtool::prepareTerminal();
    if (argc > 1 && std::string_view(argv[1]) == "serve") {
        return static_cast<int>(cqtool::serveInstead(argc, argv, std::cerr));
    }
    cqtool::Interrupt interrupt;
    cqtool::Program program("cq drives a spectrophotometer and computes colours.",
                            CQAPI_VERSION_STRING, kHelpEnd);
    const cqtool::Environment environment{std::cout, std::cerr, interrupt};
    cqtool::addDemo(program, environment);
    cqtool::addList(program, environment);
    cqtool::addInfo(program, environment);
    cqtool::addStatus(program, environment);
    cqtool::addCalibrate(program, environment);
    cqtool::addMeasure(program, environment);
    cqtool::addMonitor(program, environment);
    cqtool::addJob(program, environment);
    cqtool::addServe(program);
    cqtool::addStandards(program, environment);
    cqtool::addSamples(program, environment);
    cqtool::addBackup(program, environment);
    cqtool::addRestore(program, environment);
    cqtool::addWhiteBoard(program, environment);
    cqtool::addParameter(program, environment);
    cqtool::addScan(program, environment);
    cqtool::addColor(program, environment);
    cqtool::addDifference(program, environment);
    cqtool::addReport(program, environment);
    cqtool::addLog(program, environment);
    cqtool::addDoctor(program, environment);
    cqtool::addManual(program, environment);
    cqtool::addCompletion(program, environment);
    return static_cast<int>(program.run(argc, argv));
}

#include "instrument/VirtualInstrument.h"

#include <chrono>
#include <optional>
#include <system_error>

#include "Failure.h"
#include "system/ChildProcess.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr const char* kProgram = "cq-virtual-instrument";
constexpr std::string_view kPortPrefix = "port: ";
constexpr std::chrono::seconds kStartTimeout{5};
constexpr int kExitStatusOfUsage = 2;

[[noreturn]] void failToStart(const std::string& reason) {
    throw Failure("the virtual instrument did not start: " + reason,
                  std::string("check that ") + kProgram + " lies beside cq or on the search path");
}

std::unique_ptr<ChildProcess> start(VirtualInstrument::Kind kind,
                                    const std::vector<std::string>& options) {
    std::vector<std::string> arguments{"--until-eof"};
    if (kind == VirtualInstrument::Kind::adapter) {
        arguments.emplace_back("--adapter");
    }
    arguments.insert(arguments.end(), options.begin(), options.end());
    try {
        return std::make_unique<ChildProcess>(ChildProcess::locate(kProgram), arguments);
    } catch (const std::system_error& error) {
        failToStart(error.code().message());
    }
}

std::string firstLine(ChildProcess& process) {
    const auto line = process.readLine(kStartTimeout);
    if (line) {
        return *line;
    }
    if (!process.hasOutputEnded()) {
        failToStart("it named no port within 5 s");
    }
    if (process.waitForEnd() == kExitStatusOfUsage) {
        throw UsageError(std::string("the virtual instrument refused its options; ") + kProgram +
                         " --help lists them");
    }
    failToStart("it ended at once");
}

}  // namespace

VirtualInstrument::VirtualInstrument(Kind kind, const std::vector<std::string>& options)
    : process_(start(kind, options)) {
    const std::string line = firstLine(*process_);
    if (!line.starts_with(kPortPrefix)) {
        failToStart("its first line names no port: " + line);
    }
    portName_ = trimmed(std::string_view(line).substr(kPortPrefix.size()));
    process_->drainOutput();
}

VirtualInstrument::~VirtualInstrument() = default;

}  // namespace cqtool

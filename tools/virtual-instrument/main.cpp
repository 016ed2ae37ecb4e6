#include <exception>
#include <fstream>
#include <iostream>

#include "Application.h"
#include "Options.h"
#include "System.h"

namespace {

constexpr int kRuntimeError = 1;

void serve(const vi::Options& options) {
    std::ofstream file;
    std::ostream* log = nullptr;
    if (options.log == "-") {
        log = &std::cerr;
    } else if (!options.log.empty()) {
        file.open(options.log);
        if (!file) {
            throw std::runtime_error("cannot write the log " + options.log +
                                     "; choose another path for --log");
        }
        log = &file;
    }
    vi::Application(options, log).run();
}

}  // namespace

int main(int argc, char** argv) {
    vi::System::secureStandardStreams();
    int exitCode = 0;
    try {
        if (const auto options = vi::parseCommandLine(argc, argv, exitCode)) {
            serve(*options);
        }
    } catch (const std::exception& error) {
        std::cerr << "cq-virtual-instrument: " << error.what() << '\n';
        return kRuntimeError;
    }
    return exitCode;
}

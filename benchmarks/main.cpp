#include <benchmark/benchmark.h>

#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>
#include <string>

#include "Benchmarks.h"
#include "Dll.h"
#include "Results.h"

namespace {

constexpr int kFailure = 1;
constexpr int kUsageError = 2;

struct Options {
    std::string filter = ".";
    std::string json;
    bool isMarkdown = false;
    cqbench::DllFacts dll;
};

/// Notes whether a benchmark could not be run.
class Reporter : public benchmark::ConsoleReporter {
  public:
    Reporter() : ConsoleReporter(OO_None) {}
    // The machine is the reader's own, and figures are judged by their peers.
    bool ReportContext(const Context& /*context*/) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            hasFailed_ = hasFailed_ || run.error_occurred;
        }
        ConsoleReporter::ReportRuns(runs);
    }
    bool hasFailed() const { return hasFailed_; }

  private:
    bool hasFailed_ = false;
};

void addOptions(CLI::App& app, Options& options) {
    app.add_option("FILTER", options.filter,
                   "Run only the benchmarks whose names match this regular expression");
    app.add_option("--json", options.json, "Write the results to this file")->type_name("FILE");
    app.add_flag("--markdown", options.isMarkdown, "Print the closing table as Markdown");
    app.add_option("--dll-size", options.dll.size,
                   "Size of the stripped CQApi.dll in bytes; a line of the table")
        ->group("");
    app.add_option("--dll-imports", options.dll.imports, "The DLLs that it loads")->group("");
}

int run(const Options& options) {
    cqbench::addLineBenchmarks();
    cqbench::addManyInstrumentsBenchmarks();
    cqbench::addLogBenchmark();
    cqbench::addReceivePathBenchmark();
    cqbench::addColorBenchmarks();
    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter, options.filter);
    auto& results = cqbench::results();
    if (options.dll.size != 0) {
        cqbench::addDllResults(options.dll);
    }
    std::cout << '\n';
    cqbench::printTable(
        std::cout, results,
        options.isMarkdown ? cqbench::TableStyle::markdown : cqbench::TableStyle::terminal);
    if (!options.json.empty()) {
        cqbench::writeJson(options.json, results);
    }
    return reporter.hasFailed() ? kFailure : 0;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Measures the library, each figure against a peer or a limit in the same run.",
                 "cqapi-benchmarks");
    Options options;
    addOptions(app, options);
    try {
        app.parse(argc, argv);
        return run(options);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kUsageError;
    } catch (const std::exception& error) {
        std::cerr << "cqapi-benchmarks: " << error.what() << '\n';
        return kFailure;
    }
}

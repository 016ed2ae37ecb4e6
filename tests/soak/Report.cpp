#include "soak/Report.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace cqtest::soak {
namespace {

using Row = std::vector<std::string>;

constexpr std::size_t kGaugeRows = 12;

std::string fixed(double value, int digits) {
    char text[32];
    std::snprintf(text, sizeof(text), "%.*f", digits, value);
    return text;
}

std::string toMilliseconds(Histogram::Microseconds time) {
    return fixed(static_cast<double>(time) / 1000, 3);
}

/// The first row is the heading; its first column is to the left, the others to the right.
void printTable(const std::vector<Row>& rows, bool isMarkdown) {
    std::vector<int> widths(rows.front().size());
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], static_cast<int>(row[i].size()));
        }
    }
    const char* const edge = isMarkdown ? "|" : "";
    for (std::size_t number = 0; number < rows.size(); ++number) {
        const Row& row = rows[number];
        std::printf("%s %-*s %s", edge, widths[0], row[0].c_str(), edge);
        for (std::size_t i = 1; i < row.size(); ++i) {
            std::printf(" %*s %s", widths[i], row[i].c_str(), edge);
        }
        std::printf("\n");
        if (number == 0 && isMarkdown) {
            std::printf("|---|");
            for (std::size_t i = 1; i < row.size(); ++i) {
                std::printf("---:|");
            }
            std::printf("\n");
        }
    }
    std::printf("\n");
}

void printOperations(const Statistics& statistics, bool isWired, bool isMarkdown) {
    std::vector<Row> rows{{isWired ? "wired" : "wireless", "calls", "lost", "wrong", "p50 ms",
                           "p90 ms", "p99 ms", "p99.9 ms", "max ms"}};
    for (std::size_t i = 0; i < kKinds; ++i) {
        const auto kind = static_cast<Kind>(i);
        const Statistics::Tally& tally = statistics.of(isWired, kind);
        const std::uint64_t count = tally.times.count();
        if (count == 0) {
            continue;
        }
        Row row{nameOf(kind), std::to_string(count), std::to_string(tally.lost),
                std::to_string(tally.wrong)};
        for (const double part : {0.5, 0.9, 0.99, 0.999}) {
            row.push_back(toMilliseconds(tally.times.percentile(part)));
        }
        row.push_back(toMilliseconds(tally.times.max()));
        rows.push_back(std::move(row));
    }
    if (rows.size() > 1) {
        printTable(rows, isMarkdown);
    }
}

void printGauges(const Gauges& gauges, bool isMarkdown) {
    std::vector<Row> rows{{"time", "operations", "RSS MB", "descriptors", "threads"}};
    const auto& readings = gauges.readings();
    const std::size_t count = std::min(kGaugeRows, readings.size());
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t place = count == 1 ? 0 : i * (readings.size() - 1) / (count - 1);
        const Reading& reading = readings[place];
        rows.push_back({toClock(reading.at), std::to_string(reading.operations),
                        toMegabytes(reading.rssBytes), std::to_string(reading.descriptors),
                        std::to_string(reading.threads)});
    }
    printTable(rows, isMarkdown);
}

}  // namespace

std::string toMegabytes(std::int64_t bytes) {
    return fixed(static_cast<double>(bytes) / 1e6, 2);
}

std::string toClock(std::chrono::seconds at) {
    char text[32];
    std::snprintf(text, sizeof(text), "%02lld:%02lld", static_cast<long long>(at.count() / 60),
                  static_cast<long long>(at.count() % 60));
    return text;
}

bool printReport(const Run& run, const Statistics& statistics, const Gauges& gauges,
                 bool isMarkdown) {
    const std::uint64_t lost = statistics.lost();
    const std::uint64_t wrong = statistics.wrong();
    const std::int64_t growth = gauges.growthBytes();
    const bool isHeldBack =
        run.after.descriptors != run.before.descriptors || run.after.threads != run.before.threads;
    const std::uint64_t expected = statistics.callbacksExpected;
    const std::uint64_t received = statistics.callbacksReceived;

    std::printf("\n%u wired and %u wireless instruments, %s (minutes:seconds)\n\n", run.wired,
                run.wireless, toClock(run.duration).c_str());
    printOperations(statistics, true, isMarkdown);
    printOperations(statistics, false, isMarkdown);
    printGauges(gauges, isMarkdown);

    const auto number = [](auto value) { return std::to_string(value); };
    const Reading* const settled = gauges.settled();
    const std::vector<Row> rows{
        {"result", ""},
        {"operations", number(statistics.operations())},
        {"operations lost", number(lost)},
        {"operations with wrong data", number(wrong)},
        {"stored records compared byte for byte", number(statistics.recordsCompared.load())},
        {"callbacks expected, received", number(expected) + ", " + number(received)},
        {"memory growth from " + (settled ? toClock(settled->at) : "the start") + ", MB",
         toMegabytes(growth)},
        {"descriptors before, after",
         number(run.before.descriptors) + ", " + number(run.after.descriptors)},
        {"threads before, after", number(run.before.threads) + ", " + number(run.after.threads)}};
    printTable(rows, isMarkdown);

    const bool isRight = lost == 0 && wrong == 0 && !isHeldBack && growth < kAllowedGrowth &&
                         expected == received && statistics.operations() > 0;
    std::printf("%s\n", isRight ? "Nothing was lost, wrong or left behind."
                                : "FAILED: see the numbers above.");
    return isRight;
}

}  // namespace cqtest::soak

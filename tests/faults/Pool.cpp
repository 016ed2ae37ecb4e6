// Runs cells side by side, each in a child process: a cell mostly waits, and what it leaves behind
// or breaks is its own.

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <functional>
#include <map>
#include <numeric>
#include <sstream>
#include <stdexcept>

#include "faults/Matrix.h"
#include "peer/Rounds.h"

namespace cqtest::faults {
namespace {

/// A child that has not ended by itself by then is ended, one that repeats itself after as many times
/// this; in seconds.
constexpr unsigned kPatience = 150;

/// A cell that was wrong must be right so many times in a row, before it has been wrong as often.
constexpr int kTimes = 3;
/// When so many have failed at that, it is not for the crowd, and the others are run once.
constexpr std::size_t kMostWrong = 10;

using Clock = std::chrono::steady_clock;

struct Child {
    std::size_t cell;
    int reading;
    Clock::time_point start = Clock::now();
};

/// Outcome, time and problems, a line each. Less than a pipe holds, so that writing never waits.
std::string toText(const Result& result) {
    std::string text = result.outcome + '\n' + std::to_string(result.taken.count()) + '\n';
    for (const std::string& problem : result.problems) {
        text += problem + '\n';
    }
    return text.substr(0, 4000);
}

Result fromText(const std::string& text) {
    std::istringstream lines(text);
    Result result;
    std::string line;
    std::getline(lines, result.outcome);
    std::getline(lines, line);
    result.taken = milliseconds(std::atoll(line.c_str()));
    while (std::getline(lines, line)) {
        result.problems.push_back(line);
    }
    return result;
}

[[noreturn]] void runChild(const Cell& cell, int writing) {
    alarm(cell.expected.isKilled ? kPatience * static_cast<unsigned>(roundsOr(1)) : kPatience);
    Result result;
    try {
        result = runCell(cell);
    } catch (const std::exception& failure) {
        result.problems.push_back(failure.what());
    }
    const std::string text = toText(result);
    const bool isWritten = write(writing, text.data(), text.size()) >= 0;
    std::exit(isWritten ? 0 : 1);  // through the leak checker, if there is one
}

Child startChild(const std::vector<Cell>& cells, std::size_t cell, pid_t& process) {
    int ends[2];
    if (pipe(ends) != 0) {
        throw std::runtime_error("no pipe for another cell; try fewer --jobs");
    }
    std::fflush(nullptr);
    process = fork();
    if (process < 0) {
        throw std::runtime_error("no process for another cell; try fewer --jobs");
    }
    if (process == 0) {
        close(ends[0]);
        runChild(cells[cell], ends[1]);
    }
    close(ends[1]);
    return {cell, ends[0]};
}

Result resultOf(const Child& child, int status) {
    std::string text;
    char buffer[4096];
    for (ssize_t size = 0; (size = read(child.reading, buffer, sizeof(buffer))) > 0;) {
        text.append(buffer, static_cast<std::size_t>(size));
    }
    close(child.reading);
    Result result = fromText(text);
    if (status != 0) {
        const bool isKilled = WIFSIGNALED(status);
        result.problems.push_back(
            (isKilled ? "the process was ended by signal " : "the process ended with exit code ") +
            std::to_string(isKilled ? WTERMSIG(status) : WEXITSTATUS(status)));
    }
    return result;
}

void showProgress(std::size_t done, std::size_t total) {
    if (isatty(STDERR_FILENO) != 0) {
        std::fprintf(stderr, "\r%zu of %zu cells%s", done, total, done == total ? "\n" : "");
    }
}

}  // namespace

std::vector<Result> runAll(const std::vector<Cell>& cells, std::size_t jobs) {
    std::vector<Result> results(cells.size());
    std::vector<int> timesRight(cells.size());
    std::vector<int> timesWrong(cells.size());
    std::deque<std::size_t> waiting(cells.size());
    std::iota(waiting.begin(), waiting.end(), std::size_t{0});
    std::ranges::stable_sort(waiting, std::greater(), [&](std::size_t i) {
        const Expectation& expected = cells[i].expected;
        return expected.atLeast + expected.settle + expected.pause;
    });
    std::map<pid_t, Child> running;
    std::size_t done = 0;
    std::size_t wrong = 0;
    const auto largest = static_cast<double>(jobs);
    double crowd = largest;
    Clock::time_point crowdSince = Clock::now();
    while (done < cells.size()) {
        while (!waiting.empty() && static_cast<double>(running.size()) < crowd) {
            pid_t process = -1;
            const Child child = startChild(cells, waiting.front(), process);
            waiting.pop_front();
            running.emplace(process, child);
        }
        int status = 0;
        const pid_t ended = waitpid(-1, &status, 0);
        const auto found = running.find(ended);
        if (found == running.end()) {
            continue;
        }
        const Child child = found->second;
        running.erase(found);
        Result result = resultOf(child, status);
        if (result.problems.empty()) {
            crowd = std::min(largest, crowd + 1 / crowd);
            if (++timesRight[child.cell] < kTimes && timesWrong[child.cell] > 0) {
                waiting.push_back(child.cell);
                continue;
            }
        } else if (++timesWrong[child.cell] < kTimes && wrong < kMostWrong) {
            std::printf("again: %s/%s (%s)\n", cells[child.cell].fault.c_str(),
                        cells[child.cell].operation.c_str(), result.problems.front().c_str());
            timesRight[child.cell] = 0;
            waiting.push_back(child.cell);
            if (child.start >= crowdSince) {
                crowd = std::max(1.0, crowd / 2);
                crowdSince = Clock::now();
            }
            continue;
        } else {
            ++wrong;
        }
        results[child.cell] = std::move(result);
        showProgress(++done, cells.size());
    }
    return results;
}

}  // namespace cqtest::faults

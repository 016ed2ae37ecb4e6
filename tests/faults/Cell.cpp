// Runs one cell: an instrument with the fault, the operation, and what is to work afterwards.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <memory>
#include <thread>

#include "faults/Matrix.h"
#include "faults/Resources.h"
#include "operations/Guarded.h"
#include "peer/Rounds.h"

namespace cqtest::faults {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// cqClose() promises about half a second.
constexpr auto kCloseTime = 1200ms;

constexpr int kAttempts = 50;

/// What runs, and what the instrument holds if it is not done, and if it is.
struct Run {
    const Operation& operation;
    const Expectation& expected;
    Session session;
    Model before{};
};

milliseconds since(Clock::time_point start) {
    return std::chrono::duration_cast<milliseconds>(Clock::now() - start);
}

void closeInTime(Session& session) {
    const auto begin = Clock::now();
    cqClose(session.handle);
    session.handle = nullptr;
    const milliseconds taken = since(begin);
    session.check(taken < kCloseTime, "closing took " + std::to_string(taken.count()) + " ms");
}

bool isBetween(std::size_t value, std::size_t one, std::size_t other) {
    return value >= std::min(one, other) && value <= std::max(one, other);
}

bool isChanged(const Model& before, const Model& after) {
    return before.standards.size() != after.standards.size() ||
           before.samples.size() != after.samples.size() || before.parameters != after.parameters ||
           std::memcmp(&before.whiteBoard, &after.whiteBoard, sizeof(before.whiteBoard)) != 0;
}

/// The handle answers, and the instrument holds what it should.
void checkThatItWorks(Run& run, Effect effect) {
    Session& session = run.session;
    std::uint32_t standards = 99;
    std::uint32_t samples = 99;
    const std::uint32_t codes[] = {cqGetTotalStandards(session.handle, &standards),
                                   cqGetTotalSamples(session.handle, &samples),
                                   cqCalibrateBlack(session.handle)};
    for (const std::uint32_t code : codes) {
        session.check(code == CQ_NO_ERROR, "afterwards a call gave " + std::to_string(code));
    }
    const Model& low = effect == Effect::done ? session.model : run.before;
    const Model& high = effect == Effect::refused ? run.before : session.model;
    session.check(isBetween(standards, low.standards.size(), high.standards.size()) &&
                      isBetween(samples, low.samples.size(), high.samples.size()),
                  "afterwards there are " + std::to_string(standards) + " standards and " +
                      std::to_string(samples) + " samples");
    if (effect == Effect::done && isChanged(run.before, session.model)) {
        checkHeld(session);
    }
}

void checkThatScanWorks(Session& session) {
    CqBleSlave* list = nullptr;
    const std::uint32_t code = cqScanBleSlaves(session.instrument->portName(), &list);
    session.check(
        code == CQ_NO_ERROR && list != nullptr,
        "afterwards a scan gave " + std::to_string(code) + (list == nullptr ? " and no list" : ""));
    cqFree(list);
}

void checkNext(Session& session, const std::string& expected) {
    if (session.handle == nullptr || expected.empty()) {
        return;
    }
    Guarded<std::uint32_t> count;
    const std::string code = std::to_string(cqGetTotalStandards(session.handle, count.get()));
    session.check(code == expected, "the next call gave " + code + " instead of " + expected);
    session.check(code == "0" || count.isUntouched(), "the next call failed and wrote");
}

void open(Session& session, int attempts) {
    for (int attempt = 1; attempt <= attempts && session.handle == nullptr; ++attempt) {
        session.open();
        if (session.handle == nullptr && attempt < attempts) {
            std::this_thread::sleep_for(50ms);
        }
    }
    session.check(session.handle != nullptr, "it could not be opened");
}

void recover(Run& run) {
    const Expectation& expected = run.expected;
    Session& session = run.session;
    std::this_thread::sleep_for(expected.pause);
    if (expected.recovery == Recovery::handle) {
        return checkThatItWorks(run, expected.effect);
    }
    checkNext(session, expected.next);
    closeInTime(session);
    std::unique_ptr<VirtualInstrument> replacement;
    Effect effect = expected.effect;
    if (expected.recovery == Recovery::replace) {
        session.model = run.before;
        replacement = std::make_unique<VirtualInstrument>(session.options());
        session.instrument = replacement.get();
        effect = Effect::refused;
    }
    if (run.operation.name == "scan") {
        return checkThatScanWorks(session);
    }
    session.instrument->plugIn();  // nothing happens if it is plugged in
    open(session, kAttempts);      // a new line may take a moment to be there
    checkThatItWorks(run, effect);
    closeInTime(session);
}

void runOperation(Run& run, Result& result) {
    const Expectation& expected = run.expected;
    Session& session = run.session;
    std::thread puller([&] {
        std::this_thread::sleep_for(expected.unplugAfter);
        if (expected.unplugAfter > 0ms) {
            session.instrument->unplug();
        }
    });
    const auto begin = Clock::now();
    const std::clock_t processor = std::clock();
    result.outcome = run.operation.run(session);
    result.taken = since(begin);
    const double busy = static_cast<double>(std::clock() - processor) / CLOCKS_PER_SEC;
    puller.join();
    session.textFault.clear();  // it has struck
    session.check(std::ranges::count(expected.outcomes, result.outcome) > 0,
                  "gave " + result.outcome + " instead of " + expected.outcomes.front());
    session.check(result.taken >= expected.atLeast && result.taken <= expected.atMost,
                  "took " + std::to_string(result.taken.count()) + " ms instead of " +
                      std::to_string(expected.atLeast.count()) + " to " +
                      std::to_string(expected.atMost.count()));
    // Who waits needs no processor, whatever is gone.
    session.check(
        result.taken < 1s || busy < 0.1 * static_cast<double>(result.taken.count()) / 1000,
        "kept a processor busy for " + std::to_string(busy) + " s");
}

/// Repeats the operation until it is killed, or fails. \param opened told of the opening.
[[noreturn]] void beDoomed(Run& run, int opened) {
    run.session.open();
    if (run.session.handle != nullptr && write(opened, "o", 1) == 1) {
        while (run.operation.run(run.session) == run.operation.usual) {
        }
    }
    _exit(1);
}

/// Takes over what the instrument has been given by a host that nobody heard of again: whole records,
/// in their order, which checkHeld() then looks at.
void adoptWritten(Session& session) {
    std::uint32_t count = 0;
    session.check(cqGetTotalStandards(session.handle, &count) == CQ_NO_ERROR &&
                      count >= session.model.standards.size(),
                  "standards are lost");
    while (session.model.standards.size() < count) {
        session.model.standards.push_back({false, session.model.written++});
    }
}

/// A host is killed at any moment; the next one opens at its first try and reads right data.
void killHosts(Run& run, Result& result) {
    Session& session = run.session;
    std::minstd_rand random(static_cast<unsigned>(run.operation.name.size()));
    const int rounds = roundsOr(session.isWired() ? 4 : 1);
    for (int round = 0; round < rounds && session.problems.empty(); ++round) {
        int ends[2];
        session.check(pipe(ends) == 0, "no pipe");
        const pid_t host = fork();
        if (host == 0) {
            beDoomed(run, ends[1]);
        }
        close(ends[1]);
        char letter = 0;
        session.check(read(ends[0], &letter, 1) == 1, "it could not be opened after a killed host");
        close(ends[0]);
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 500'000));
        kill(host, SIGKILL);
        int status = 0;
        session.check(waitpid(host, &status, 0) == host && WIFSIGNALED(status),
                      "the host has ended by itself, because something failed");
        open(session, 1);
        adoptWritten(session);
        checkHeld(session);
        if (session.model.standards.size() > 200) {
            // Every next check would take longer.
            session.check(cqDeleteStandard(session.handle, CQ_ALL_RECORDS) == CQ_NO_ERROR,
                          "the records cannot be deleted");
            session.model.standards.clear();
            session.model.samples.clear();
        }
        closeInTime(session);
    }
    result.outcome = "killed";
}

/// A cell whose fault did not strike has shown nothing. Of faults that are not in the log the result
/// tells.
void checkThatItStruck(const Cell& cell, const VirtualInstrument& instrument, Session& session) {
    static constexpr std::string_view kLogged[] = {
        "bad-crc",   "lost-ack",  "duplicate",   "wrong-sequence", "garbage",    "retransmit",
        "one-byte",  "silence",   "abort-reply", "abort-send",     "disconnect", "ble-length",
        "ble-split", "ble-bytes", "ble-joined",  "ble-pause",      "at-split"};
    const std::string fault = cell.fault.substr(0, cell.fault.find(','));
    const bool isLogged =
        std::ranges::count(kLogged, fault) > 0 && (cell.kind == Kind::wired || fault != "one-byte");
    session.check(!isLogged || instrument.waitUntilLogged("fault: " + fault),
                  "the fault did not strike");
}

void checkResources(const Resources& before, Result& result) {
    const Resources after = Resources::settled(before);
    // A description of a problem is held by the result.
    if (after != before && result.problems.empty()) {
        result.problems.push_back("held before: " + describe(before) +
                                  "; afterwards: " + describe(after));
    }
}

}  // namespace

Result runCell(const Cell& cell) {
    Result result;
    Run run{operationNamed(cell.operation), cell.expected, {cell.kind, nullptr}};
    Session& session = run.session;
    session.struckStep = cell.expected.struckStep;
    session.textFault = cell.expected.textFault;
    session.model.capacity = cell.expected.isKilled ? 100'000 : 1000;
    run.before = session.model;
    VirtualInstrument instrument(session.options() + cell.expected.options);
    session.instrument = &instrument;
    const Resources before = Resources::now();
    if (cell.expected.isKilled) {
        killHosts(run, result);
    } else {
        if (run.operation.name != "open" && run.operation.name != "scan") {
            open(session, 1);
        }
        std::this_thread::sleep_for(cell.expected.settle);
        runOperation(run, result);
        recover(run);
        checkThatItStruck(cell, instrument, session);
    }
    if (session.handle != nullptr) {
        closeInTime(session);
    }
    result.problems = std::move(session.problems);
    checkResources(before, result);
    return result;
}

void warmUp(Kind kind) {
    Session session{kind, nullptr};
    VirtualInstrument instrument(session.options());
    session.instrument = &instrument;
    for (const Operation& operation : operations()) {
        // What there is room for is what is stored at the start.
        if (operation.isFor(kind) && operation.name != "press" && operation.name != "download") {
            session.model = Model();  // whatever the operations before have deleted
            operation.run(session);
        }
    }
}

std::vector<Cell> commonCells(Kind kind) {
    std::vector<Cell> cells;
    for (const Operation& operation : operations()) {
        if (!operation.isFor(kind)) {
            continue;
        }
        Cell cell{kind, "none", operation.name, {}};
        cell.expected.outcomes = {operation.usual};
        cell.expected.atMost = 5000ms;
        cell.expected.effect = Effect::done;
        const bool hasHandle = operation.name != "close" && operation.name != "scan";
        cell.expected.recovery = hasHandle ? Recovery::handle : Recovery::reopen;
        cells.push_back(std::move(cell));
    }
    for (const char* const operation : {"uploadAll", "download", "measureTrial"}) {
        Cell cell{kind, "killed", operation, {}};
        cell.expected.isKilled = true;
        // The line is slow enough for most killings to fall into the middle of a transfer.
        cell.expected.options = std::string("--measure-time 20 --line-rate ") +
                                (kind == Kind::wired ? "921600" : "115200");
        cells.push_back(std::move(cell));
    }
    return cells;
}

}  // namespace cqtest::faults

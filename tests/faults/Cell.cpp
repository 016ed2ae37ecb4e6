// Runs one cell: an instrument with the fault, the operation, and what is to work afterwards.

#include <algorithm>
#include <memory>
#include <thread>

#include "faults/Connect.h"
#include "faults/Guarded.h"
#include "faults/Matrix.h"
#include "faults/Resources.h"

namespace cqtest::faults {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// cqClose() promises about half a second.
constexpr auto kCloseTime = 1200ms;

constexpr int kAttempts = 50;

milliseconds since(Clock::time_point start) {
    return std::chrono::duration_cast<milliseconds>(Clock::now() - start);
}

std::unique_ptr<VirtualInstrument> start(Kind kind, const std::string& fault) {
    const Stored stored;
    const std::string options = "--calibrated --standards " + std::to_string(stored.standards) +
                                " --samples " + std::to_string(stored.samples) + " " + fault;
    return std::make_unique<VirtualInstrument>((kind == Kind::wired ? "" : "--adapter ") + options);
}

void closeInTime(Session& session) {
    const auto begin = Clock::now();
    cqClose(session.handle);
    session.handle = nullptr;
    const milliseconds taken = since(begin);
    session.check(taken < kCloseTime, "closing took " + std::to_string(taken.count()) + " ms");
}

bool isBetween(std::uint32_t value, std::uint32_t one, std::uint32_t other) {
    return value >= std::min(one, other) && value <= std::max(one, other);
}

/// The handle answers, and the instrument holds what it should.
void checkThatItWorks(Session& session, const Operation& operation, Effect effect) {
    const Stored before;
    Stored now{99, 99};
    const std::uint32_t codes[] = {cqGetTotalStandards(session.handle, &now.standards),
                                   cqGetTotalSamples(session.handle, &now.samples),
                                   cqCalibrateBlack(session.handle)};
    for (const std::uint32_t code : codes) {
        session.check(code == CQ_NO_ERROR, "afterwards a call gave " + std::to_string(code));
    }
    const Stored& low = effect == Effect::done ? operation.after : before;
    const Stored& high = effect == Effect::refused ? before : operation.after;
    session.check(isBetween(now.standards, low.standards, high.standards) &&
                      isBetween(now.samples, low.samples, high.samples),
                  "afterwards there are " + std::to_string(now.standards) + " standards and " +
                      std::to_string(now.samples) + " samples");
    if (effect == Effect::done && operation.readBack != nullptr) {
        operation.readBack(session);
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
        session.handle = connect(session.kind, session.instrument->portName());
        if (session.handle == nullptr && attempt < attempts) {
            std::this_thread::sleep_for(50ms);
        }
    }
    session.check(session.handle != nullptr, "it could not be opened");
}

void recover(Session& session, const Operation& operation) {
    const Expectation& expected = *session.expected;
    std::this_thread::sleep_for(expected.pause);
    if (expected.recovery == Recovery::handle) {
        return checkThatItWorks(session, operation, expected.effect);
    }
    checkNext(session, expected.next);
    closeInTime(session);
    std::unique_ptr<VirtualInstrument> replacement;
    if (expected.recovery == Recovery::replace) {
        replacement = start(session.kind, "");
        session.instrument = replacement.get();
    }
    if (operation.name == "scan") {
        return checkThatScanWorks(session);
    }
    session.instrument->plugIn();  // nothing happens if it is plugged in
    open(session, kAttempts);      // a new line may take a moment to be there
    const bool isAnother = expected.recovery == Recovery::replace;
    checkThatItWorks(session, isAnother ? operationNamed("info") : operation,
                     isAnother ? Effect::refused : expected.effect);
    closeInTime(session);
}

void runOperation(Session& session, const Operation& operation, Result& result) {
    const Expectation& expected = *session.expected;
    const auto begin = Clock::now();
    result.outcome = operation.run(session);
    result.taken = since(begin);
    session.check(std::ranges::count(expected.outcomes, result.outcome) > 0,
                  "gave " + result.outcome + " instead of " + expected.outcomes.front());
    session.check(result.taken >= expected.atLeast && result.taken <= expected.atMost,
                  "took " + std::to_string(result.taken.count()) + " ms instead of " +
                      std::to_string(expected.atLeast.count()) + " to " +
                      std::to_string(expected.atMost.count()));
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
    const auto instrument = start(cell.kind, cell.expected.options);
    const Operation& operation = operationNamed(cell.operation);
    const Resources before = Resources::now();
    {
        Session session{cell.kind, instrument.get(), nullptr, &cell.expected, &result.problems};
        if (operation.name != "open" && operation.name != "scan") {
            open(session, 1);
        }
        std::this_thread::sleep_for(cell.expected.settle);
        runOperation(session, operation, result);
        recover(session, operation);
        if (session.handle != nullptr) {
            closeInTime(session);
        }
    }
    checkResources(before, result);
    return result;
}

void warmUp(Kind kind) {
    std::vector<std::string> unheeded;  // one operation changes what another one finds
    const auto instrument = start(kind, "");
    const Expectation nothing;
    Session session{kind, instrument.get(), nullptr, &nothing, &unheeded};
    for (const Operation& operation : operations()) {
        // What there is room for is what is stored at the start.
        if (operation.isFor(kind) && operation.name != "press" && operation.name != "download") {
            operation.run(session);
        }
    }
}

}  // namespace cqtest::faults

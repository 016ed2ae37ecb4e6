#include "instrument/Connection.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <optional>
#include <thread>

#include "Failure.h"
#include "system/Terminal.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

using OpenFunction = std::function<CqHandle()>;

/// Runs an open call of the library, which may never return, on a thread of its own.
class PendingOpen {
  public:
    explicit PendingOpen(OpenFunction open)
        : thread_([this, open = std::move(open)] {
              const CqHandle handle = open();
              const std::scoped_lock lock(mutex_);
              result_ = handle;
              changed_.notify_all();
          }) {}
    ~PendingOpen() { thread_.join(); }
    PendingOpen(const PendingOpen&) = delete;
    PendingOpen& operator=(const PendingOpen&) = delete;

    /// The handle, null for a failed open; nothing when the time is over or after an interruption.
    std::optional<CqHandle> wait(std::chrono::duration<double> timeout, Interrupt& interrupt) {
        const auto wake = interrupt.onInterrupt([this] {
            const std::scoped_lock lock(mutex_);
            changed_.notify_all();
        });
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, timeout, [&] { return result_ || interrupt.happened(); });
        return result_;
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::optional<CqHandle> result_;
    std::thread thread_;
};

[[noreturn]] void endProcess(ExitStatus status) {
    std::cout.flush();
    std::cerr.flush();
    std::_Exit(static_cast<int>(status));
}

[[noreturn]] void endWithoutAnswer(const std::string& port, double seconds) {
    std::cerr << "cq: " << (port.empty() ? "the port that was found" : port)
              << " opened, but nothing answered within " << fixed(seconds, 1) << " s\n"
              << "  Try: switch the instrument on; check that the port is the instrument's; unplug "
                 "the instrument and plug it in again; allow more time with --open-timeout\n";
    endProcess(ExitStatus::failed);
}

CqHandle openWithin(const OpenFunction& open, const std::string& port, double seconds,
                    Interrupt& interrupt) {
    PendingOpen pending(open);
    const auto handle = pending.wait(std::chrono::duration<double>(seconds), interrupt);
    if (!handle && interrupt.happened()) {
        endProcess(ExitStatus::interrupted);
    }
    if (!handle) {
        endWithoutAnswer(port, seconds);
    }
    return *handle;
}

[[noreturn]] void explainFailedOpen(const std::string& port) {
    if (port.empty()) {
        throw Failure("no instrument was found",
                      "plug the instrument in and switch it on; name its port with --port; or try "
                      "a virtual one with --virtual");
    }
    throw Failure("the instrument on " + port + " could not be opened", adviceForPort(port));
}

std::string portNameOf(CqHandle handle) {
    std::array<char, 256> name{};
    cqGetPortName(handle, name.data(), static_cast<std::int32_t>(name.size() - 1));
    return printableText(name.data(), name.size());
}

}  // namespace

Connection::Connection(const ConnectionOptions& options, Interrupt& interrupt)
    : interrupt_(interrupt) {
    if (options.writeDebugLog && !cqEnableDebugLog()) {
        throw Failure("the debug log cannot be opened",
                      "it is written beside the library: make that folder writable");
    }
    std::string port = options.port;
    if (options.useVirtual) {
        virtualInstrument_ =
            std::make_unique<VirtualInstrument>(splitArguments(options.virtualOptions));
        port = virtualInstrument_->portName();
    }
    handle_ =
        openWithin([port] { return cqOpen(port.c_str()); }, port, options.openTimeout, interrupt_);
    if (handle_ == nullptr) {
        interrupt_.throwIfHappened();
        explainFailedOpen(port);
    }
    portName_ = portNameOf(handle_);
    closeOnInterrupt_ = interrupt_.onInterrupt([handle = handle_] { cqClose(handle); });
}

Connection::~Connection() {
    closeOnInterrupt_.reset();
    // Ignored if the interruption has closed it.
    cqClose(handle_);
}

CqDeviceInfo Connection::deviceInfo() const {
    CqDeviceInfo info{};
    check(cqGetDeviceInfo(handle_, &info), Operation::readDeviceInfo);
    return info;
}

CqInstrumentStatus Connection::status() const {
    CqInstrumentStatus status{};
    check(cqGetInstrumentStatus(handle_, &status), Operation::readStatus);
    return status;
}

void Connection::calibrateWhite() const {
    check(cqCalibrateWhite(handle_), Operation::calibrateWhite);
}

void Connection::calibrateBlack() const {
    check(cqCalibrateBlack(handle_), Operation::calibrateBlack);
}

CqMeasurementRecord Connection::measure(bool isStandard) const {
    CqMeasurementRecord record{};
    if (isStandard) {
        check(cqMeasureStandard(handle_, &record), Operation::measureStandard);
    } else {
        check(cqMeasureTrial(handle_, &record), Operation::measureTrial);
    }
    return record;
}

void Connection::check(std::uint32_t code, Operation operation) const {
    if (code != CQ_NO_ERROR) {
        interrupt_.throwIfHappened();
    }
    cqtool::check(code, operation);
}

}  // namespace cqtool

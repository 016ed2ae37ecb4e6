#include "instrument/Connection.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <iostream>
#include <mutex>
#include <optional>
#include <thread>

#include "Failure.h"
#include "system/Ports.h"
#include "system/Terminal.h"
#include "terminal/StatusLine.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

/// Calibrated, because it lives for one command, which could otherwise do little with it.
constexpr const char* kUsualVirtualOptions = "--calibrated";
constexpr double kWiredOpenTimeout = 5;  // seconds
// Linking takes 2 to 5 s, a scan for the strongest 2 s more, and each port without an adapter 2.5
// s.
constexpr double kWirelessOpenTimeout = 15;

/// What to open.
struct Target {
    bool isWireless;
    std::string port;   ///< the instrument's or the adapter's; empty: search for it
    std::string slave;  ///< as in ConnectionOptions

    std::uint32_t open(double seconds, CqHandle& handle) const {
        const auto milliseconds = static_cast<std::uint32_t>(seconds * 1000);
        return isWireless
                   ? cqOpenByBleDongleWithin(port.c_str(), slave.c_str(), milliseconds, &handle)
                   : cqOpenWithin(port.c_str(), milliseconds, &handle);
    }
};

Target targetOf(const ConnectionOptions& options, const VirtualInstrument* virtualInstrument) {
    const std::string& named = options.isWireless ? options.adapter : options.port;
    return {options.isWireless,
            virtualInstrument != nullptr ? virtualInstrument->portName() : named, options.slave};
}

/// What an open call of the library came to.
struct Opened {
    std::uint32_t code = CQ_NO_ERROR;
    CqHandle handle = nullptr;
};

/// Runs an open call of the library on a separate thread, so that Ctrl-C is heard meanwhile.
class PendingOpen {
  public:
    PendingOpen(const Target& target, double seconds)
        : thread_([this, target, seconds] {
              Opened opened;
              opened.code = target.open(seconds, opened.handle);
              const std::scoped_lock lock(mutex_);
              result_ = opened;
              changed_.notify_all();
          }) {}
    ~PendingOpen() { thread_.join(); }
    PendingOpen(const PendingOpen&) = delete;
    PendingOpen& operator=(const PendingOpen&) = delete;

    /// Nothing after an interruption.
    std::optional<Opened> wait(Interrupt& interrupt) {
        const auto wake = interrupt.onInterrupt([this] {
            const std::scoped_lock lock(mutex_);
            changed_.notify_all();
        });
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return result_ || interrupt.happened(); });
        return result_;
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::optional<Opened> result_;
    std::thread thread_;
};

[[noreturn]] void explainNoAnswer(const Target& target, double seconds) {
    const std::string time = fixed(seconds, 1) + " s";
    if (target.isWireless) {
        throw Failure("no instrument was linked through " +
                          (target.port.empty() ? "an adapter" : target.port) + " within " + time,
                      "wake the instrument and bring it near the adapter; allow more time with "
                      "--open-timeout");
    }
    throw Failure((target.port.empty() ? "the port that was found" : target.port) +
                      " opened, but nothing answered within " + time,
                  "switch the instrument on; check that the port is the instrument's; unplug the "
                  "instrument and plug it in again; allow more time with --open-timeout");
}

std::string nameOf(const Target& target) {
    return target.isWireless ? "a wireless instrument" : "the instrument";
}

CqHandle openWithin(const Target& target, double seconds, Interrupt& interrupt) {
    StatusLine status("connecting to " + (target.port.empty() ? nameOf(target) : target.port));
    PendingOpen pending(target, seconds);
    const auto opened = pending.wait(interrupt);
    status.clear();
    if (!opened) {
        endProcess(ExitStatus::interrupted);
    }
    if (opened->code == CQ_RECEIVING_TIMEOUT) {
        explainNoAnswer(target, seconds);
    }
    return opened->handle;
}

/// Ports of this kind that cannot be used, and why: " (/dev/ttyACM0: held by minicom)".
std::string obstaclesOf(PortKind kind) {
    std::vector<std::string> texts;
    try {
        for (const PortInfo& port : listPorts()) {
            if (port.kind == kind && !obstacleOf(port).empty()) {
                texts.push_back(port.name + ": " + obstacleOf(port));
            }
        }
    } catch (const Failure&) {
        // Ports that cannot be listed tell nothing.
    }
    return texts.empty() ? std::string() : " (" + joined(texts, "; ") + ")";
}

[[noreturn]] void explainFailedWirelessOpen(const Target& target) {
    const std::string what = target.slave.empty()
                                 ? "no wireless instrument was linked"
                                 : "the instrument " + target.slave + " was not linked";
    if (target.port.empty()) {
        throw Failure(what + obstaclesOf(PortKind::adapter),
                      "plug the adapter in and wake the instrument; name the adapter's port with "
                      "--adapter; or try a virtual one with --virtual");
    }
    throw Failure(what + " through the adapter on " + target.port,
                  portExists(target.port) && holderOf(target.port).empty()
                      ? "wake the instrument, bring it near the adapter, and see with cq scan "
                        "whether it is within reach"
                      : adviceForFailedOpen(target.port, PortUse::adapter));
}

[[noreturn]] void explainFailedOpen(const Target& target) {
    if (target.isWireless) {
        explainFailedWirelessOpen(target);
    }
    if (target.port.empty()) {
        throw Failure("no instrument was found" + obstaclesOf(PortKind::instrument),
                      "plug the instrument in and switch it on; name its port with --port; or try "
                      "a virtual one with --virtual");
    }
    throw Failure("the instrument on " + target.port + " could not be opened",
                  adviceForFailedOpen(target.port, PortUse::instrument));
}

std::string portNameOf(CqHandle handle) {
    std::array<char, 256> name{};
    cqGetPortName(handle, name.data(), static_cast<std::int32_t>(name.size() - 1));
    return printableText(name.data(), name.size());
}

}  // namespace

void startDebugLog(const ConnectionOptions& options) {
    if (options.writeDebugLog && !cqEnableDebugLog()) {
        throw Failure("the debug log cannot be opened",
                      "it is written beside the library: make that folder writable");
    }
}

std::unique_ptr<VirtualInstrument> startVirtual(const ConnectionOptions& options) {
    using Kind = VirtualInstrument::Kind;
    if (!options.useVirtual) {
        return nullptr;
    }
    return std::make_unique<VirtualInstrument>(
        options.isWireless ? Kind::adapter : Kind::instrument,
        splitArguments(options.virtualOptions.value_or(kUsualVirtualOptions)));
}

Connection::Connection(const ConnectionOptions& options, Interrupt& interrupt)
    : interrupt_(interrupt), isWireless_(options.isWireless) {
    startDebugLog(options);
    virtualInstrument_ = startVirtual(options);
    const Target target = targetOf(options, virtualInstrument_.get());
    handle_ = openWithin(
        target,
        options.openTimeout.value_or(isWireless_ ? kWirelessOpenTimeout : kWiredOpenTimeout),
        interrupt_);
    if (handle_ == nullptr) {
        interrupt_.throwIfHappened();
        explainFailedOpen(target);
    }
    portName_ = portNameOf(handle_);
    closeOnInterrupt();
    watch_ = std::make_unique<PortWatch>(portName_, handle_);
}

Connection::~Connection() {
    closeOnInterrupt_.reset();
    watch_.reset();
    // Ignored if the interruption or the port's end has closed it.
    cqClose(handle_);
}

void Connection::closeOnInterrupt() {
    closeOnInterrupt_ = interrupt_.onInterrupt([handle = handle_] { cqClose(handle); });
}

Connection::KeepOpen::KeepOpen(Connection& connection) : connection_(connection) {
    connection_.closeOnInterrupt_.reset();
}

Connection::KeepOpen::~KeepOpen() {
    connection_.closeOnInterrupt();
}

CqDeviceInfo Connection::deviceInfo() const {
    const StatusLine status("reading the device information");
    CqDeviceInfo info{};
    check(cqGetDeviceInfo(handle_, &info), Operation::readDeviceInfo);
    return info;
}

CqInstrumentStatus Connection::status() const {
    const StatusLine line("reading the status");
    CqInstrumentStatus status{};
    check(cqGetInstrumentStatus(handle_, &status), Operation::readStatus);
    return status;
}

void Connection::calibrateWhite() const {
    const StatusLine status("calibrating on white");
    check(cqCalibrateWhite(handle_), Operation::calibrateWhite);
}

void Connection::calibrateBlack() const {
    const StatusLine status("calibrating on black");
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

std::uint32_t Connection::reasonOf(std::uint32_t code) const {
    return code != CQ_NO_ERROR && watch_->hasGone() ? std::uint32_t{CQ_DEVICE_IS_CLOSED} : code;
}

void Connection::check(std::uint32_t code, Operation operation) const {
    if (code != CQ_NO_ERROR) {
        interrupt_.throwIfHappened();
    }
    cqtool::check(reasonOf(code), operation);
}

}  // namespace cqtool
